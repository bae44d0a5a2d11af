#include "dll/shared/numfmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestLocale;
using test::UseLocale;

constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
constexpr int32_t MOST = std::numeric_limits<int32_t>::max();

const TestLocale THREE_TWO = {.thousands_separator = "'", .grouping = "\3\2", .overflow = "*", .negative_sign = "~"};

// ---- Formatting -----------------------------------------------------------------------------------------------------

// clang-format off
TEST(FmtNum, TakesItsSignsFromTheLocale) {
  const struct { TestLocale locale; double value; int32_t len; const char* expected; } rows[] = {
      {THREE_TWO, -1234567, 12, "~12'34'567"}, {THREE_TWO, 123456, 3, "***"},
      {{.thousands_separator = ",", .grouping = "\3\177"}, 1234567, 12, "1234,567"},
      {{.decimal_point = "ab", .thousands_separator = "\xe2\x80\xaf", .grouping = "\3"}, 1234567.5, 12, "1234567.5"},
  };
  for (const auto& row : rows) {
    const UseLocale in_force(row.locale);
    FieldBuffer out;
    EXPECT_EQ(FldFmtNum(out, row.value, row.len, 1, "G"), row.expected[0] != '*') << row.expected;
    EXPECT_EQ(out.View(), row.expected);
  }
}
// clang-format on

// What no letters mean, said in terms of printf.
std::string PlainForm(double value, int32_t len, int32_t prec) {
  char printed[1024];
  const int length = std::snprintf(printed, sizeof printed, "%.*f", prec, value);
  const bool negative = printed[0] == '-';
  std::string digits = printed + (negative ? 1 : 0);
  const bool zero = digits.find_first_of("123456789") == std::string::npos;
  if (prec > 0) digits.erase(digits.find_last_not_of('0') + 1);
  if (digits.back() == '.') digits.pop_back();
  const size_t with_sign = digits.size() + (negative ? 1 : 0);
  if (prec > 0 && digits[0] == '0') digits.erase(0, 1);
  const auto width = static_cast<size_t>(len);
  if (length > FIELD_MAX || (negative ? with_sign : digits.size()) > width) return std::string(width, '?');
  return (negative && !zero ? "-" : "") + digits;
}

TEST(FmtNum, AgreesWithPrintf) {
  std::mt19937_64 random(20240229);
  for (int i = 0; i < 60000; ++i) {
    const auto bits = static_cast<double>(static_cast<int64_t>(random()) >> (random() % 64));
    const double values[] = {bits, bits / 1000, bits / 4096, bits * 1e-9,
                             std::ldexp(bits, static_cast<int>(random() % 400) - 200)};
    const double value = values[random() % std::size(values)];
    const auto len = static_cast<int32_t>(1 + random() % (i % 4 == 0 ? 255 : 14));
    const auto prec = static_cast<int32_t>(random() % (i % 8 == 0 ? 256 : 11));
    FieldBuffer out;
    FmtNum(out, value, len, prec, 0);
    ASSERT_EQ(out.View(), PlainForm(value, len, prec)) << value << " " << len << "." << prec;
  }
}

TEST(FmtNum, IsBoundedForEveryArgument) {
  const UseLocale groups_of_one({.thousands_separator = ",", .grouping = "\1"});
  const int32_t numbers[] = {LEAST, -1, 0, 1, 2, 9, 250, 253, 254, 255, 256, 257, MOST};
  const double values[] = {0, -0.0, 7, -1.5, 1e127, -1e254, 1e308, -1e308, 5e-324, INFINITY, -INFINITY, NAN};
  for (const int32_t len : numbers) {
    for (const int32_t prec : numbers) {
      for (const double value : values) {
        for (const char* letters : {"", "R", "RZTPG", "RS", "G", "ZG", "TG"}) {
          FieldBuffer out;
          const bool fits = FldFmtNum(out, value, len, prec, letters);
          const auto width = static_cast<size_t>(std::clamp(len, 0, FIELD_MAX));
          const bool good =
              fits ? out.Length() <= width && len <= FIELD_MAX + 1 : out.View() == std::string(width, '?');
          ASSERT_TRUE(good) << value << " " << len << "." << prec << " " << letters << " [" << out.View() << "]";
        }
      }
    }
  }
}

// ---- Scanning -------------------------------------------------------------------------------------------------------

TEST(ScanNum, ReadsAllDigitsAsOneNumber) {
  const UseLocale in_force;
  std::mt19937_64 random(4711);
  for (int i = 0; i < 20000; ++i) {
    std::string text = std::to_string(random() >> (random() % 60));
    text.insert(random() % (text.size() + 1), ".");
    double result = 0;
    FieldBuffer out;
    ASSERT_EQ(FldScanNum(result, out, text, "", 30, 0, 0, ""), SCAN_OK) << text;
    ASSERT_EQ(result, std::strtod(text.c_str(), nullptr)) << text;
  }
}

// clang-format off
TEST(ScanNum, IsBoundedForEveryLength) {
  const std::string many(5000, '0'), fill(254, '0');
  const std::string tie = "9007199254740993.";  // between two doubles; what follows decides
  const struct { std::string in; int32_t prec; ScanCode code; double result; } rows[] = {
      {many + "12.5" + many, 1, SCAN_OK, 12.5},     {"." + many + "1", 2, SCAN_OK, 0},
      {tie + many, 0, SCAN_OK, 9007199254740992},   {tie + many + "1", 1, SCAN_OK, 9007199254740994},
      {"2" + fill, 0, SCAN_OK, 2e254},              {"-2" + fill, 0, SCAN_BELOW_MODE, 0},
      {"2" + fill, 1, SCAN_ABOVE_MODE, 0},          {"-2" + fill + fill, 0, SCAN_BELOW_MODE, 0},
      {"1" + many, 0, SCAN_ABOVE_MODE, 0},          {"-0.001", 2, SCAN_OK, 0},
  };
  for (const auto& row : rows) {
    double result = 99;
    FieldBuffer out;
    EXPECT_EQ(FldScanNum(result, out, row.in, "", row.prec, 0, 0, ""), row.code) << row.in;
    EXPECT_TRUE(result == row.result && !(result == 0 && std::signbit(result))) << row.in << " gave " << result;
  }
}

TEST(ScanNum, TellsWhatItMet) {
  const UseLocale in_force(THREE_TWO);
  const struct { const char* in; int32_t mode; ScanCode code; double result; char badchar; } rows[] = {
      {"~1'2", 0, SCAN_OK, -12, 0},         {"-12", 0, SCAN_OK, -12, 0},           {"1", 5, SCAN_BAD_CALL, 0, 0},
      {"1 2", 0, SCAN_BLANK_INSIDE, 0, '1'}, {"1-2", 0, SCAN_SIGN_POSITION, 0, '1'}, {"x1", 0, SCAN_BAD_CHAR, 0, 'x'},
  };
  for (const auto& row : rows) {
    double result = 99;
    FieldBuffer out;
    char badchar = '?';
    EXPECT_EQ(ScanNum(result, out, row.in, 0, 0, 0, row.mode, badchar), row.code) << row.in;
    EXPECT_TRUE(result == row.result && badchar == row.badchar) << row.in << " gave " << result << badchar;
  }
}
// clang-format on

}  // namespace
}  // namespace vorlix
