// Conversion of host reals. All digits are exact decimal digits: nothing is rounded but where the conversions say so.
//
// A block can hold any bytes. A digit count above 8 counts as 8, a digit above 99 as 99, and an exponent that no host
// real has gives the double's infinity or zero; only the sign byte 255 marks a value as invalid.
#include "hostif/math.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <system_error>

namespace vorlix {
namespace {

constexpr int DOUBLE_DIGITS = 12;  // significant decimal digits that reach a double
constexpr int HOST_DIGITS = 15;    // significant decimal digits that are taken from a double
constexpr int FATAL_INVALID_VALUE = -2;

// Powers of ten that a double holds exactly; one multiplication or division by them is rounded once.
constexpr std::array<double, 23> EXACT_POWERS = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

[[noreturn]] void FatalMathError(int code, int line = __builtin_LINE()) {
  std::fprintf(stderr, "fatal math error cc #%d\n", code);
  std::fprintf(stderr, "file = %s, line = %d\n", __FILE__, line);
  std::abort();
}

int DigitCount(const HostReal& real) { return std::min<int>(real.digit_count, REAL_DIGIT_BYTES); }

int DigitAt(const HostReal& real, int position) {
  return position < DigitCount(real) ? std::min<int>(real.digits[static_cast<size_t>(position)], 99) : 0;
}

// The magnitude as mantissa * 10^exponent with a mantissa of at most 12 digits, rounded half away from zero.
struct Decimal {
  int64_t mantissa = 0;
  int exponent = 0;
};

Decimal RoundedDecimal(const HostReal& real) {
  Decimal result;
  int taken = 0;
  int position = 0;
  for (; position < 2 * DigitCount(real) && taken < DOUBLE_DIGITS; ++position) {
    const int pair = DigitAt(real, position / 2);
    result.mantissa = result.mantissa * 10 + (position % 2 == 0 ? pair / 10 : pair % 10);
    if (result.mantissa != 0) ++taken;
  }
  const int next_pair = DigitAt(real, position / 2);
  if ((position % 2 == 0 ? next_pair / 10 : next_pair % 10) >= 5) ++result.mantissa;
  result.exponent = 2 * real.exponent - position;
  return result;
}

double NearestDouble(const Decimal& decimal) {
  const auto mantissa = static_cast<double>(decimal.mantissa);
  if (decimal.mantissa == 0) return 0.0;
  if (decimal.exponent >= 0 && decimal.exponent < std::ssize(EXACT_POWERS))
    return mantissa * EXACT_POWERS[static_cast<size_t>(decimal.exponent)];
  if (decimal.exponent < 0 && -decimal.exponent < std::ssize(EXACT_POWERS))
    return mantissa / EXACT_POWERS[static_cast<size_t>(-decimal.exponent)];
  std::array<char, 40> text;
  const int length = std::snprintf(text.data(), text.size(), "%" PRId64 "e%d", decimal.mantissa, decimal.exponent);
  double value = 0.0;
  if (std::from_chars(text.data(), text.data() + length, value).ec == std::errc::result_out_of_range)
    return decimal.exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
  return value;
}

// The 15 digits of a finite value, without a point, and the position p of its point: 0.d1d2...d15 * 10^p.
struct DigitRun {
  std::array<int, HOST_DIGITS + 1> digits{};  // one zero behind the last digit
  int point = 0;
};

DigitRun LeadingDigits(double magnitude) {
  DigitRun run;
  if (magnitude == 0.0) return run;
  std::array<char, 40> text;  // d.dddddddddddddde[+-]ddd
  const char* end =
      std::to_chars(text.data(), text.data() + text.size(), magnitude, std::chars_format::scientific, HOST_DIGITS - 1)
          .ptr;
  run.digits[0] = text[0] - '0';
  for (size_t i = 1; i < HOST_DIGITS; ++i) run.digits[i] = text[i + 1] - '0';
  const char* exponent = text.data() + HOST_DIGITS + 2;
  std::from_chars(*exponent == '+' ? exponent + 1 : exponent, end, run.point);
  ++run.point;
  return run;
}

}  // namespace

MathCode HostRealToDouble(const HostReal& real, double& value) {
  if (real.sign == REAL_INVALID) FatalMathError(FATAL_INVALID_VALUE);
  value = NearestDouble(RoundedDecimal(real));
  if (real.sign == REAL_NEGATIVE && value != 0.0) value = -value;
  return MATH_OK;
}

MathCode DoubleToHostReal(double value, HostReal& real) {
  real = REAL_ZERO;
  if (std::isnan(value)) return MATH_REAL_RANGE;
  if (std::isinf(value)) {
    if (value > 0) real = REAL_LARGEST;
    return MATH_REAL_RANGE;
  }
  if (value == 0.0) return MATH_OK;
  DigitRun run = LeadingDigits(std::fabs(value));
  const bool odd = run.point % 2 != 0;
  const uint8_t sign = value < 0 ? REAL_NEGATIVE : REAL_POSITIVE;
  const int exponent = (run.point + (odd ? 1 : 0)) / 2;
  if (exponent > REAL_MAX_EXPONENT) {
    real = REAL_LARGEST;
    real.sign = sign;
    return MATH_REAL_RANGE;
  }
  if (exponent < REAL_MIN_EXPONENT) return MATH_REAL_RANGE;
  real.exponent = static_cast<int16_t>(exponent);
  real.sign = sign;
  // With an odd point the first byte takes one digit, and the fifteenth digit is cut.
  if (odd) run.digits[HOST_DIGITS - 1] = 0;
  size_t next = 0;
  for (size_t byte = 0; byte < REAL_DIGIT_BYTES; ++byte) {
    const int tens = byte == 0 && odd ? 0 : run.digits[next++];
    real.digits[byte] = static_cast<uint8_t>(10 * tens + run.digits[next++]);
    if (real.digits[byte] != 0) real.digit_count = static_cast<uint8_t>(byte + 1);
  }
  return MATH_OK;
}

MathCode HostRealToInt(const HostReal& real, int32_t& value) {
  if (real.sign == REAL_INVALID) FatalMathError(FATAL_INVALID_VALUE);
  const bool negative = real.sign == REAL_NEGATIVE;
  const int64_t limit = negative ? -int64_t{std::numeric_limits<int32_t>::min()} : std::numeric_limits<int32_t>::max();
  int64_t magnitude = 0;
  for (int position = 0; position < real.exponent && magnitude <= limit; ++position) {
    if (position >= DigitCount(real) && magnitude == 0) break;
    magnitude = magnitude * 100 + DigitAt(real, position);
  }
  const bool in_range = magnitude <= limit;
  magnitude = std::min(magnitude, limit);
  value = static_cast<int32_t>(negative ? -magnitude : magnitude);
  return in_range ? MATH_OK : MATH_INTEGER_RANGE;
}

}  // namespace vorlix
