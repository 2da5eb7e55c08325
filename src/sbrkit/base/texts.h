// Texts in fixed fields: in with truncation, out with an end that is always there.
#ifndef SBRKIT_BASE_TEXTS_H
#define SBRKIT_BASE_TEXTS_H

#include <cstddef>
#include <cstring>

namespace sbr {

// Stores at most `limit` characters of a text (below the field's size) and fills the rest of the field with NULs. A
// null text counts as empty.
template <std::size_t Size>
void store_text(char (&field)[Size], const char *text, std::size_t limit = Size - 1) noexcept {
  std::memset(field, 0, Size);
  if (text == nullptr) return;
  const std::size_t room = limit < Size ? limit : Size - 1;
  std::memcpy(field, text, strnlen(text, room));
}

// Copies the text of a field of `size` characters out and ends it. At most `size` characters are written; a null
// destination takes nothing.
inline void give_text(char *out, const char *field, std::size_t size) noexcept {
  if (out == nullptr || size == 0) return;
  const std::size_t length = strnlen(field, size - 1);
  std::memcpy(out, field, length);
  out[length] = '\0';
}
template <std::size_t Size>
void give_text(char *out, const char (&field)[Size]) noexcept {
  give_text(out, field, Size);
}

// The same for fields that a text may fill to the last character: nothing of it is lost, and a text as long as its
// field has no end.
template <std::size_t Size>
void store_field(char (&field)[Size], const char *text) noexcept {
  std::memset(field, 0, Size);
  if (text != nullptr) std::memcpy(field, text, strnlen(text, Size));
}
// Writes all `size` characters: the text, and zeros behind it.
inline void give_field(char *out, const char *field, std::size_t size) noexcept {
  if (out == nullptr) return;
  const std::size_t length = strnlen(field, size);
  std::memcpy(out, field, length);
  std::memset(out + length, 0, size - length);
}
template <std::size_t Size>
void give_field(char *out, const char (&field)[Size]) noexcept {
  give_field(out, field, Size);
}

}  // namespace sbr

#endif
