// Reals in fixed columns, as Fortran's E12.5 and C's %12.5E write them, read many times faster than by the general way
// and to the very same double.
#ifndef SBRKIT_TRANSLATORS_COMMON_FIXED_REAL_H
#define SBRKIT_TRANSLATORS_COMMON_FIXED_REAL_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace sbrtranslate {

// Powers of ten that a double holds exactly.
inline constexpr double kExactPowers[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                            1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Reads twelve characters of the form "-1.23456E-03", a blank or a plus in the place of the minus. False, with `value`
// untouched, for any other form and for exponents beyond what is exact here: -17 to 27. Six digits and a power of ten
// up to 22 are exact as doubles, so that one multiplication or division rounds once, as a correct conversion does
// (Clinger, "How to read floating point numbers accurately", 1990).
inline bool read_e12_5(const char *field, double &value) {
  if constexpr (std::endian::native != std::endian::little) return false;
  const char sign = field[0];
  if (sign != ' ' && sign != '-' && sign != '+') return false;
  std::uint64_t text = 0;
  std::memcpy(&text, field + 1, 8);  // d.dddddE, the first character in the lowest byte
  if ((text & 0xFF0000000000FF00U) != 0x4500000000002E00U) return false;
  std::uint64_t digits = (text ^ 0x4530303030302E30U);  // the values of the digits, zero for the point and the E
  if (((digits + 0x7676767676767676U) & 0x8080808080808080U) != 0 || (digits & 0x8080808080808080U) != 0) return false;
  // Eight decimal places, two zeros in front: pairs of digits, then pairs of pairs, are put together at once.
  digits = ((digits & 0xFFU) << 16U) | ((digits & 0x00FFFFFFFFFF0000U) << 8U);
  digits = digits * 10 + (digits >> 8U);
  digits = ((digits & 0x000000FF000000FFU) * 0x000F424000000064U +
            ((digits >> 16U) & 0x000000FF000000FFU) * 0x0000271000000001U) >>
           32U;
  const auto tens = static_cast<unsigned>(static_cast<unsigned char>(field[10])) - '0';
  const auto ones = static_cast<unsigned>(static_cast<unsigned char>(field[11])) - '0';
  const bool minus = field[9] == '-';
  if (tens > 9 || ones > 9 || (!minus && field[9] != '+')) return false;
  const int exponent = static_cast<int>(10 * tens + ones);
  const int power = (minus ? -exponent : exponent) - 5;
  if (power > 22 || power < -22) return false;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(digits));
  const double size = power < 0 ? whole / kExactPowers[-power] : whole * kExactPowers[power];
  value = sign == '-' ? -size : size;
  return true;
}

// Reads a whole number without sign that stands at the right end of its columns, blanks in front; false for any other
// form and for more than nine digits.
inline bool read_whole(const char *field, std::size_t width, int &value) {
  std::size_t at = 0;
  while (at < width && field[at] == ' ') ++at;
  if (at == width || width - at > 9) return false;
  int number = 0;
  for (; at < width; ++at) {
    const auto digit = static_cast<unsigned>(static_cast<unsigned char>(field[at])) - '0';
    if (digit > 9) return false;
    number = 10 * number + static_cast<int>(digit);
  }
  value = number;
  return true;
}

}  // namespace sbrtranslate

#endif
