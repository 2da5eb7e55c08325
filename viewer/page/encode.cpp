#include "encode.h"

#include <zlib.h>

#include <cstring>
#include <stdexcept>

#include "markup.h"

namespace sbrview {
namespace {

template <class Word>
Bytes split(const std::vector<Word> &words) {
  Bytes bytes(words.size() * sizeof(Word));
  for (std::size_t plane = 0; plane < sizeof(Word); ++plane)
    for (std::size_t i = 0; i < words.size(); ++i)
      bytes[plane * words.size() + i] = static_cast<std::uint8_t>(words[i] >> (8 * plane));
  return bytes;
}

// The length of the UTF-8 sequence that begins at a place; 0 when none does.
std::size_t sequence_at(const std::string &text, std::size_t at) {
  const auto byte = [&](std::size_t i) { return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U; };
  const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return follows(1) ? 2 : 0;
  if (first >= 0xE0 && first < 0xF0) {
    const unsigned code = (first & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U;
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return follows(1) && follows(2) && code >= 0x800 && !surrogate ? 3 : 0;
  }
  if (first >= 0xF0 && first < 0xF5) {
    const unsigned code = (first & 0x07U) << 18U | (byte(1) & 0x3FU) << 12U;
    return follows(1) && follows(2) && follows(3) && code >= 0x10000 && code < 0x110000 ? 4 : 0;
  }
  return 0;
}

}  // namespace

Bytes planes_of(const std::vector<std::int32_t> &values) {
  std::vector<std::uint32_t> words(values.size());
  std::uint32_t before = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const auto value = static_cast<std::uint32_t>(values[i]);
    const std::uint32_t difference = value - before;
    words[i] = difference << 1U ^ (difference >> 31U != 0 ? 0xFFFFFFFFU : 0U);
    before = value;
  }
  return split(words);
}

Bytes planes_of(const std::vector<float> &values) {
  std::vector<std::uint32_t> words(values.size());
  if (!values.empty()) std::memcpy(words.data(), values.data(), values.size() * sizeof(float));
  return split(words);
}

Bytes planes_of(const std::vector<std::int16_t> &values, std::size_t column_length) {
  std::vector<std::uint16_t> words(values.size());
  std::uint16_t before = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (i % column_length == 0) before = 0;
    const auto value = static_cast<std::uint16_t>(values[i]);
    const auto difference = static_cast<std::uint16_t>(value - before);
    words[i] = static_cast<std::uint16_t>(difference << 1U ^ ((difference & 0x8000U) != 0 ? 0xFFFFU : 0U));
    before = value;
  }
  return split(words);
}

std::string packed(const Bytes &bytes) {
  uLongf length = compressBound(static_cast<uLong>(bytes.size()));
  Bytes deflated(length);
  if (compress2(deflated.data(), &length, bytes.data(), static_cast<uLong>(bytes.size()), 6) != Z_OK)
    throw std::runtime_error("the data of the page cannot be compressed");
  deflated.resize(length);
  return base64(deflated.data(), deflated.size());
}

std::string readable(const std::string &text) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const std::size_t length = sequence_at(text, at);
    if (byte < 0x20 || byte == 0x7F) {
      result += ' ';
      ++at;
    } else if (length == 0) {
      result += static_cast<char>(0xC0U | byte >> 6U);
      result += static_cast<char>(0x80U | (byte & 0x3FU));
      ++at;
    } else {
      result.append(text, at, length);
      at += length;
    }
  }
  return result;
}

}  // namespace sbrview
