#include "markup.h"

#include <cstdint>

namespace sbrview {

std::string escaped(const std::string &text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '&':
        result += "&amp;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string base64(const void *bytes, std::size_t count) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto *from = static_cast<const unsigned char *>(bytes);
  std::string text;
  text.reserve((count + 2) / 3 * 4);
  for (std::size_t i = 0; i < count; i += 3) {
    const std::size_t left = count - i;
    const std::uint32_t group = static_cast<std::uint32_t>(from[i]) << 16U |
                                (left > 1 ? static_cast<std::uint32_t>(from[i + 1]) << 8U : 0U) |
                                (left > 2 ? static_cast<std::uint32_t>(from[i + 2]) : 0U);
    text += kDigits[group >> 18U];
    text += kDigits[group >> 12U & 63U];
    text += left > 1 ? kDigits[group >> 6U & 63U] : '=';
    text += left > 2 ? kDigits[group & 63U] : '=';
  }
  return text;
}

}  // namespace sbrview
