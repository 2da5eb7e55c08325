// Texts of the database front.
#include "database/text.h"

#include <cstdarg>
#include <cstdio>

namespace sbr {

const char *text_of(const Text &text) noexcept { return text.empty() ? "" : text.data(); }

std::string_view view_of(const Text &text) noexcept { return text_of(text); }

bool print(Text &out, const char *format, ...) noexcept {
  std::va_list arguments;
  std::va_list again;
  va_start(arguments, format);
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  const bool room = length >= 0 && out.allocate(static_cast<std::int64_t>(length) + 1);
  if (room) std::vsnprintf(out.data(), out.size(), format, again);
  va_end(again);
  va_end(arguments);
  return room;
}

bool append(Text &out, std::string_view characters) noexcept {
  const std::size_t length = view_of(out).size();
  if (!out.resize(static_cast<std::int64_t>(length + characters.size() + 1))) return false;
  if (!characters.empty()) std::memcpy(out.data() + length, characters.data(), characters.size());
  out[length + characters.size()] = '\0';
  return true;
}

bool replace_commas(Text &out, std::string_view text, std::string_view replacement) noexcept {
  out.clear();
  bool quoted = false;
  if (!append(out, "")) return false;
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < text.size() && (quoted || text[length] != ',')) {
      if (text[length] == '\'') quoted = !quoted;
      ++length;
    }
    if (!append(out, text.substr(0, length))) return false;
    text.remove_prefix(length);
    if (text.empty()) break;
    if (!append(out, replacement)) return false;
    text.remove_prefix(1);
  }
  return true;
}

bool double_quotes(Text &out, std::string_view text) noexcept {
  out.clear();
  if (!append(out, "")) return false;
  for (std::size_t quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'')) {
    if (!append(out, text.substr(0, quote + 1)) || !append(out, "'")) return false;
    text.remove_prefix(quote + 1);
  }
  return append(out, text);
}

}  // namespace sbr
