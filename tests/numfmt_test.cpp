#include "dll/shared/numfmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

// ---- Formatting -----------------------------------------------------------------------------------------------------

// clang-format off
TEST(FmtNum, TakesItsSignsFromTheLocaleAndScanNumReadsThem) {
  const TestLocale three_two = {.thousands_separator = "'", .grouping = "\3\2", .overflow = "*", .negative_sign = "~"};
  const TestLocale three_only = {.thousands_separator = ",", .grouping = "\3\177"};
  const TestLocale highest = {.thousands_separator = "\xa0", .grouping = "\3"};
  const TestLocale control = {.thousands_separator = "\x7f", .grouping = "\3"};
  const TestLocale longer = {.decimal_point = "ab", .thousands_separator = "\xe2\x80\xaf", .grouping = "\3"};
  const struct { const TestLocale& locale; double value; int32_t len; const char* expected; } rows[] = {
      {three_two, -1234567, 12, "~12'34'567"}, {three_two, 123456, 3, "***"}, {three_only, 1234567, 12, "1234,567"},
      {highest, 1234, 12, "1\xa0" "234"}, {control, 1234, 12, "1234"}, {longer, 1234567.5, 12, "1234567.5"},
  };
  for (const auto& row : rows) {
    const UseLocale in_force(row.locale);
    FieldBuffer out;
    const bool fits = FldFmtNum(out, row.value, row.len, 1, "G");
    EXPECT_EQ(out.View(), row.expected);
    double result = 0;
    FieldBuffer normal;
    char badchar = '\0';
    EXPECT_EQ(ScanNum(result, normal, out.View(), 1, 0, 0, FMCHK_NONE, badchar) == SCAN_OK, fits) << row.expected;
    EXPECT_TRUE(result == row.value || (!fits && badchar == '*')) << row.expected;
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
  const int32_t numbers[] = {INT32_MIN, -1, 0, 1, 2, 9, 250, 253, 254, 255, 256, 257, INT32_MAX};
  const double values[] = {0, -0.0, 7, -1.5, 1e127, -1e254, 1e308, -1e308, 5e-324, INFINITY, -INFINITY, NAN};
  for (const int32_t len : numbers) {
    const auto width = static_cast<size_t>(std::clamp(len, 0, FIELD_MAX));
    for (const int32_t prec : numbers)
      for (const double value : values)
        for (const char* letters : {"", "R", "RZTPG", "RS", "G", "ZG", "TG"}) {
          FieldBuffer out;
          const bool fits = FldFmtNum(out, value, len, prec, letters);
          ASSERT_TRUE(fits ? out.Length() <= width && len <= FIELD_MAX + 1 : out.View() == std::string(width, '?'))
              << value << " " << len << "." << prec << " " << letters << " [" << out.View() << "]";
        }
  }
}

// ---- Scanning -------------------------------------------------------------------------------------------------------

TEST(ScanNum, ReadsAllDigitsAsOneNumber) {
  const std::string zeros(5000, '0');
  const std::string tie = "9007199254740993.";  // between two doubles; what follows decides
  std::vector<std::string> texts = {zeros + "12.5" + zeros, "." + zeros + "1", tie + zeros, tie + zeros + "1"};
  std::mt19937_64 random(4711);
  for (int i = 0; i < 20000; ++i) {
    texts.push_back(std::to_string(random() >> (random() % 60)));
    texts.back().insert(random() % (texts.back().size() + 1), ".");
  }
  double result = 0;
  FieldBuffer out;
  for (const std::string& text : texts) {
    ASSERT_EQ(FldScanNum(result, out, text, "", 30, 0, 0, ""), SCAN_OK) << text;
    ASSERT_EQ(result, std::strtod(text.c_str(), nullptr)) << text;
  }
  EXPECT_EQ(FldScanNum(result, out, "-0.001", "", 2, 0, 0, ""), SCAN_OK);
  EXPECT_TRUE(result == 0 && !std::signbit(result)) << result;
  char badchar = '\0';
  EXPECT_EQ(ScanNum(result, out, "1", 0, 0, 0, FMCHK_LREAL + 1, badchar), SCAN_BAD_CALL);
}

}  // namespace
}  // namespace vorlix::test
