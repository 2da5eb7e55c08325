#include "markup.h"

#include <cstdint>

namespace sbrtool {

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
    std::uint32_t three = 0;
    for (std::size_t k = 0; k < 3; ++k) three = three << 8U | (i + k < count ? from[i + k] : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += i + k > count ? '=' : kDigits[three >> (18 - 6 * k) & 63U];
  }
  return text;
}

}  // namespace sbrtool
