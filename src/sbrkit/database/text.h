// Texts of the database front: commands and names of any length, made without exceptions.
#ifndef SBRKIT_DATABASE_TEXT_H
#define SBRKIT_DATABASE_TEXT_H

#include <string_view>

#include "base/memory.h"

namespace sbr {

// A text that ends with a zero byte; empty (null data) before the first write.
using Text = Array<char>;

// The text, or "" before the first write.
const char *text_of(const Text &text) noexcept;
std::string_view view_of(const Text &text) noexcept;

// Prints into the text, in place of what it held. False when memory is short.
[[nodiscard]] __attribute__((format(printf, 2, 3))) bool print(Text &out, const char *format, ...) noexcept;
// Appends characters. False when memory is short.
[[nodiscard]] bool append(Text &out, std::string_view characters) noexcept;
// Copies a text with each comma outside single quotes replaced.
[[nodiscard]] bool replace_commas(Text &out, std::string_view text, std::string_view replacement) noexcept;
// Copies a text with each single quote doubled, as it stands between single quotes in a command.
[[nodiscard]] bool double_quotes(Text &out, std::string_view text) noexcept;

}  // namespace sbr

#endif
