// Numbers of everyday size are printed with integers. magnitude = mantissa / 2^shift, so magnitude * 10^prec is an
// exact quotient, which is rounded once. All others, which do not fit the integers, take the library's way.
#include "dll/field/numprint.h"

#include <bit>
#include <charconv>
#include <cstddef>
#include <iterator>
#include <limits>
#include <system_error>

namespace vorlix {
namespace {

__extension__ using Wide = unsigned __int128;

constexpr uint64_t POWERS[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
constexpr std::ptrdiff_t LONGEST_SCALED = std::numeric_limits<uint64_t>::digits10 + 1 + std::size(POWERS);
constexpr int MANTISSA_BITS = 52;
constexpr int EXPONENT_BIAS = 1023;
constexpr int WIDE_BITS = 128;

// magnitude * 10^prec, rounded. False when that takes more than 64 bits, or when magnitude is 2^52 or more or less than
// 2^-75.
bool ScaleExactly(double magnitude, int32_t prec, uint64_t& scaled) {
  const auto bits = std::bit_cast<uint64_t>(magnitude);
  const uint64_t mantissa = (bits & ((uint64_t{1} << MANTISSA_BITS) - 1)) | (uint64_t{1} << MANTISSA_BITS);
  const int shift = MANTISSA_BITS + EXPONENT_BIAS - static_cast<int>(bits >> MANTISSA_BITS);
  if (prec >= std::ssize(POWERS) || shift < 1 || shift >= WIDE_BITS) return false;

  const Wide product = Wide{mantissa} * POWERS[prec];
  Wide whole = product >> shift;
  const Wide rest = product - (whole << shift);
  const Wide half = Wide{1} << (shift - 1);
  if (rest > half || (rest == half && whole % 2 != 0)) ++whole;
  if (whole > std::numeric_limits<uint64_t>::max()) return false;
  scaled = static_cast<uint64_t>(whole);
  return true;
}

// scaled / 10^prec, which the room is enough for.
char* PrintScaled(char* text, char* limit, uint64_t scaled, int32_t prec) {
  char* const point = std::to_chars(text, limit, scaled / POWERS[prec]).ptr;
  if (prec == 0) return point;
  *point = '.';
  uint64_t decimals = scaled % POWERS[prec];
  for (char* at = point + prec; at > point; --at, decimals /= 10) *at = static_cast<char>('0' + decimals % 10);
  return point + prec + 1;
}

}  // namespace

char* PrintFixed(char* text, char* limit, double magnitude, int32_t prec) {
  uint64_t scaled = 0;
  if (limit - text >= LONGEST_SCALED && ScaleExactly(magnitude, prec, scaled))
    return PrintScaled(text, limit, scaled, prec);
  if (prec > limit - text) return nullptr;  // the library adds lengths in an int, which could overflow
  const auto [end, error] = std::to_chars(text, limit, magnitude, std::chars_format::fixed, prec);
  return error == std::errc() ? end : nullptr;
}

}  // namespace vorlix
