// Host reals: the 12-byte decimal numbers of the host, and their conversion to and from doubles and 32-bit integers.
//
// Value = 0.D1D2...Dn (base 100, n = digit_count) * 100^exponent, negative when the sign byte is 0. A normalised value
// has neither a leading nor a trailing zero digit.
#pragma once

#include <array>
#include <cstdint>

namespace vorlix {

struct HostReal {
  int16_t exponent;               // a power of 100, -64 to 63
  uint8_t sign;                   // 1 positive or zero, 0 negative, 255 invalid
  uint8_t digit_count;            // digits in use, 0 to 8; 0 means the value zero
  std::array<uint8_t, 8> digits;  // base-100 digits, most significant first, zero behind digit_count

  bool operator==(const HostReal&) const = default;
};
static_assert(sizeof(HostReal) == 12);

inline constexpr int REAL_DIGIT_BYTES = 8;
inline constexpr int REAL_MIN_EXPONENT = -64;
inline constexpr int REAL_MAX_EXPONENT = 63;
inline constexpr uint8_t REAL_NEGATIVE = 0;
inline constexpr uint8_t REAL_POSITIVE = 1;
inline constexpr uint8_t REAL_INVALID = 255;

inline constexpr HostReal REAL_ZERO = {0, REAL_POSITIVE, 0, {}};
inline constexpr HostReal REAL_LARGEST = {REAL_MAX_EXPONENT, REAL_POSITIVE, 6, {99, 99, 99, 99, 99, 99}};

/// Codes of the conversions. They never end a call: the value is replaced as each conversion says.
enum [[nodiscard]] MathCode : int32_t{MATH_OK = 0, MATH_INTEGER_RANGE = 20, MATH_REAL_RANGE = 23};

/// Rounds to 12 significant decimal digits, half away from zero, and gives the double nearest to that decimal value.
/// MATH_OK. A value marked invalid ends the process.
MathCode HostRealToDouble(const HostReal& real, double& value);

/// Takes the 15 most significant decimal digits (14 where the decimal point falls inside a base-100 digit). MATH_OK,
/// or MATH_REAL_RANGE: zero for no number, minus infinity and values too small, else the largest value.
MathCode DoubleToHostReal(double value, HostReal& real);

/// Cuts the fraction. MATH_OK, or MATH_INTEGER_RANGE with the nearest end of the 32-bit range. A value marked invalid
/// ends the process.
MathCode HostRealToInt(const HostReal& real, int32_t& value);

}  // namespace vorlix
