// How numbers travel in a page: as differences, byte plane by byte plane, deflated, in base64.
//
// Neighbours in the list of shown nodes are neighbours in space, so that differences are small; their bytes of equal
// weight stand together, so that deflate finds the high ones all but empty.
#ifndef SBRKIT_VIEWER_PAGE_ENCODE_H
#define SBRKIT_VIEWER_PAGE_ENCODE_H

#include <cstdint>
#include <string>
#include <vector>

namespace sbrview {

using Bytes = std::vector<std::uint8_t>;

// The value of a short that stands for "not a number".
inline constexpr std::int16_t kNoNumber = -32768;

// Integers: each as the difference from the one before it, zigzag coded, in four planes, the lowest bytes first.
Bytes planes_of(const std::vector<std::int32_t> &values);
// Floats: in four planes, the lowest bytes first.
Bytes planes_of(const std::vector<float> &values);
// Shorts in columns of equal length, one behind the other: differences within a column modulo 65536, zigzag coded, in
// two planes over all columns, the lower bytes first.
Bytes planes_of(const std::vector<std::int16_t> &values, std::size_t column_length);

// A zlib stream of the bytes as base64. Throws std::runtime_error when memory is short.
std::string packed(const Bytes &bytes);

// A text of a record or a file name as UTF-8: what is no UTF-8 is taken for Latin-1, control characters become blanks.
std::string readable(const std::string &text);

}  // namespace sbrview

#endif
