// Printing is exact: ties are decided by the binary value. A print longer than FIELD_MAX counts as one that does not
// fit, even when the decimals that make it so long would be trimmed.
//
// Numbers of everyday size are printed with integers, which is faster than std::to_chars: docs/performance.md has the
// figure. magnitude = mantissa / 2^shift, so magnitude * 10^prec is an exact quotient, which is
// rounded once. All others, which do not fit the integers, take the library's way.
#include "dll/field/numfield.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <system_error>

#include "dll/base/locale.h"
#include "dll/field/fmtflags.h"

namespace vorlix {

// ---- Signs -----------------------------------------------------------------------------------------------------------

NumSigns NumSigns::InForce() {
  const LocaleStrings& strings = LocaleInForce().strings;
  return {.minus = LocaleChar(strings.negative_sign, '-'),
          .point = LocaleChar(strings.decimal_point, '.'),
          .separator = LocaleChar(strings.thousands_separator, '\0'),
          .grouping = strings.grouping};
}

int GroupSizes::Next() {
  constexpr int LAST_GROUP = 127;
  const int size = grouping_.empty() ? 0 : static_cast<unsigned char>(grouping_.front());
  if (size != 0) {
    size_ = size < LAST_GROUP ? size : FIELD_MAX;
    grouping_.remove_prefix(1);
  }
  return size_;
}

// ---- Printing --------------------------------------------------------------------------------------------------------

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

// ---- Layout ----------------------------------------------------------------------------------------------------------

bool NumField::Layout(double value, int32_t width, int32_t prec, uint32_t flags, const NumSigns& signs) {
  flags_ = flags;
  if (Has(FMT_RSIGN)) {
    if (width < 2) return false;
    --width;
    value = std::abs(value);
  }
  if (width < 1 || width > FIELD_MAX || prec < 0 || !std::isfinite(value)) return false;
  width_ = width;
  if (!Print(value, prec)) return false;
  if (!Has(FMT_TZERO)) TrimDecimals();
  if (!Place()) return false;
  if (!zero_) {
    if (Has(FMT_GROUP) && signs.HasGroups() && !Group(signs)) return false;
    if (negative_ && !PutSign(signs.minus)) return false;
  } else if (Has(FMT_BZERO)) {
    shown_ = width_;
    return true;
  }
  if (point_ < width_) text_[point_] = signs.point;
  shown_ = Has(FMT_RIGHT) ? 0 : Blanks();
  return true;
}

bool NumField::Print(double value, int32_t prec) {
  negative_ = std::signbit(value);
  const int sign_length = negative_ ? 1 : 0;
  const char* const end = PrintFixed(digits_, digits_ + FIELD_MAX - sign_length, std::abs(value), prec);
  if (end == nullptr) return false;
  digit_count_ = static_cast<int>(end - digits_);
  has_decimals_ = prec > 0;
  digit_point_ = has_decimals_ ? digit_count_ - prec - 1 : digit_count_;
  printed_ = digit_count_ + sign_length;
  zero_ = std::all_of(digits_, digits_ + digit_count_, [](char c) { return c == '0' || c == '.'; });
  return true;
}

void NumField::TrimDecimals() {
  if (!has_decimals_) return;
  while (digits_[digit_count_ - 1] == '0') --digit_count_;
  if (digit_count_ - 1 == digit_point_) digit_count_ = digit_point_;
}

// Puts the digits at the right end of the field and fills what is left of them. A zero before the decimals is not
// shown, but a sign keeps its distance as if it were. A field that is filled with zeros keeps one to spare for sign or
// separator when the print was longer than the field.
bool NumField::Place() {
  const bool leading_zero = digits_[0] == '0';
  const int hidden = leading_zero && has_decimals_ && !Has(FMT_LZERO | FMT_PZERO) ? 1 : 0;
  const int count = digit_count_ - hidden;
  int needed = negative_ ? digit_count_ + 1 : count;
  if (Has(FMT_LZERO)) needed = printed_ > width_ ? digit_count_ + (leading_zero ? 0 : 1) : count;
  if (needed > width_) return false;

  const int filling = width_ - count;
  std::memset(text_, Has(FMT_LZERO) ? '0' : ' ', static_cast<size_t>(filling));
  std::memcpy(text_ + filling, digits_ + hidden, static_cast<size_t>(count));
  first_ = Has(FMT_LZERO) ? 0 : filling;
  point_ = width_ - (digit_count_ - digit_point_);
  left_separator_ = 0;
  return true;
}

// Makes room for each separator by moving what stands left of it one place to the left. In a field that is full, a
// leading zero is given up for it.
bool NumField::Group(const NumSigns& signs) {
  GroupSizes sizes(signs.grouping);
  int at = point_ - sizes.Next();
  while (at > first_) {
    if (first_ == 0) {
      if (text_[0] != '0') return false;
      first_ = 1;
      continue;
    }
    std::memmove(text_ + first_ - 1, text_ + first_, static_cast<size_t>(at - first_));
    --first_;
    left_separator_ = at - 1;
    text_[left_separator_] = signs.separator;
    at = left_separator_ - sizes.Next();
  }
  return true;
}

// In a full field the sign takes the place of the leading zero, and that of a separator which would then come first.
bool NumField::PutSign(char minus) {
  if (first_ > 0) {
    text_[first_ - 1] = minus;
    return true;
  }
  if (text_[0] != '0') return false;
  const bool gives_way = left_separator_ == 1;
  if (gives_way) text_[0] = ' ';
  text_[gives_way ? 1 : 0] = minus;
  return true;
}

int NumField::Blanks() const {
  return static_cast<int>(std::find_if(text_, text_ + width_, [](char c) { return c != ' '; }) - text_);
}

}  // namespace vorlix
