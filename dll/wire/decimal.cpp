// Decimal digits are paired from the point outwards to make base-100 digits and back; no arithmetic is done on values.
#include "dll/wire/decimal.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "dll/base/quote.h"
#include "dll/base/text.h"

namespace vorlix {
namespace {

// Beyond every exponent that the digits of a text could make up for.
constexpr int64_t HUGE_EXPONENT = 1'000'000'000'000;

constexpr int64_t WIDEST_PLAIN = 21;    // digits before the point
constexpr int64_t SMALLEST_PLAIN = -5;  // 1E-6 is 0.1 * 10^-5

// 0.d1d2...dn * 10^point, with neither a leading nor a trailing zero digit; no digits for zero.
struct Decimal {
  std::string digits;
  int64_t point = 0;
  bool negative = false;

  void Normalise() {
    const size_t zeros = std::min(digits.find_first_not_of('0'), digits.size());
    digits.erase(0, zeros);
    point -= static_cast<int64_t>(zeros);
    digits.erase(digits.find_last_not_of('0') + 1);
  }
};

bool Take(std::string_view& text, std::string_view one_of) {
  if (text.empty() || one_of.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

std::string_view TakeDigits(std::string_view& text) {
  const auto count = static_cast<size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
  const std::string_view digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

bool TakeSign(std::string_view& text) {
  const bool negative = text.starts_with('-');
  Take(text, "+-");
  return negative;
}

// Reads the form that the header gives; false when the text is not of it.
bool ReadDecimal(std::string_view text, Decimal& decimal) {
  decimal.negative = TakeSign(text);
  decimal.digits = TakeDigits(text);
  decimal.point = static_cast<int64_t>(decimal.digits.size());
  if (Take(text, ".")) decimal.digits += TakeDigits(text);
  if (decimal.digits.empty()) return false;
  if (Take(text, "eE")) {
    const bool negative = TakeSign(text);
    const std::string_view digits = TakeDigits(text);
    if (digits.empty()) return false;
    int64_t exponent = 0;
    for (const char digit : digits) exponent = std::min(exponent * 10 + (digit - '0'), HUGE_EXPONENT);
    decimal.point += negative ? -exponent : exponent;
  }
  decimal.Normalise();
  return text.empty();
}

Decimal DecimalOf(const HostReal& real) {
  Decimal decimal{{}, 2 * int64_t{real.exponent}, real.sign == REAL_NEGATIVE};
  for (int i = 0; i < std::min<int>(real.digit_count, REAL_DIGIT_BYTES); ++i) {
    const int pair = std::min<int>(real.digits[static_cast<size_t>(i)], 99);
    decimal.digits += {static_cast<char>('0' + pair / 10), static_cast<char>('0' + pair % 10)};
  }
  decimal.Normalise();
  return decimal;
}

std::string PlainText(std::string digits, int64_t point) {
  const auto size = static_cast<int64_t>(digits.size());
  if (point <= 0) return "0." + std::string(static_cast<size_t>(-point), '0') + digits;
  if (point >= size) return digits + std::string(static_cast<size_t>(point - size), '0');
  return digits.insert(static_cast<size_t>(point), ".");
}

std::string ExponentText(std::string digits, int64_t point) {
  if (digits.size() > 1) digits.insert(1, ".");
  return digits + (point > 0 ? "E+" : "E") + std::to_string(point - 1);
}

}  // namespace

DecimalFault ParseDecimal(std::string_view text, HostReal& real) {
  Decimal decimal;
  if (!ReadDecimal(text, decimal)) return DecimalFault::NotANumber;
  auto& [digits, point, negative] = decimal;
  if (digits.empty()) {  // 0, whatever its sign and its exponent
    real = REAL_ZERO;
    return DecimalFault::None;
  }
  if (point % 2 != 0) {
    digits.insert(0, "0");
    ++point;
  }
  if (digits.size() % 2 != 0) digits += '0';
  const int64_t exponent = point / 2;
  if (exponent < REAL_MIN_EXPONENT || exponent > REAL_MAX_EXPONENT) return DecimalFault::OutOfRange;
  if (digits.size() > 2 * REAL_DIGIT_BYTES) return DecimalFault::TooManyDigits;
  real = REAL_ZERO;
  real.exponent = static_cast<int16_t>(exponent);
  real.sign = negative ? REAL_NEGATIVE : REAL_POSITIVE;
  real.digit_count = static_cast<uint8_t>(digits.size() / 2);
  for (size_t i = 0; i < real.digit_count; ++i)
    real.digits[i] = static_cast<uint8_t>(10 * (digits[2 * i] - '0') + (digits[2 * i + 1] - '0'));
  return DecimalFault::None;
}

std::string_view FaultText(DecimalFault fault) {
  constexpr std::array<std::string_view, 4> TEXTS = {"is a number", "is not a number",
                                                     "has more digits than the 15 or 16 that a number can hold",
                                                     "is out of range (1E-130 up to 1E+126, or 0)"};
  return TEXTS.at(static_cast<size_t>(fault));
}

std::string FormatDecimal(const HostReal& real) {
  if (real.sign == REAL_INVALID) return "invalid";
  Decimal decimal = DecimalOf(real);
  if (decimal.digits.empty()) return "0";
  const bool plain = decimal.point >= SMALLEST_PLAIN && decimal.point <= WIDEST_PLAIN;
  std::string text = decimal.negative ? "-" : "";
  return text += (plain ? PlainText : ExponentText)(std::move(decimal.digits), decimal.point);
}

std::string FormatExactly(const HostReal& real) {
  std::string text = FormatDecimal(real);
  HostReal again;
  if (ParseDecimal(text, again) == DecimalFault::None && again == real) return text;
  text = "0x";
  for (const char byte : std::string_view(reinterpret_cast<const char*>(&real), sizeof real)) AppendHex(text, byte);
  return text;
}

}  // namespace vorlix
