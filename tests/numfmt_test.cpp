#include "dll/shared/numfmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestLocale;
using test::TestString;
using test::UseLocale;

constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
constexpr int32_t MOST = std::numeric_limits<int32_t>::max();

const TestLocale NO_GROUPS;
const TestLocale ENGLISH = {.thousands_separator = ",", .grouping = "\3\3"};
const TestLocale GERMAN = {
    .decimal_point = ",", .thousands_separator = ".", .grouping = "\3\3", .upper_letters = "\xc4"};
const TestLocale THREE_TWO = {.thousands_separator = "'", .grouping = "\3\2", .overflow = "*", .negative_sign = "~"};
const TestLocale THREE_ONCE = {.thousands_separator = ",", .grouping = "\3\177"};
const TestLocale WIDE_SIGNS = {.decimal_point = "ab", .thousands_separator = "\xe2\x80\xaf", .grouping = "\3"};

// ---- Formatting -----------------------------------------------------------------------------------------------------

// clang-format off
struct FormatRow { double value; int32_t len, prec; const char* letters; const char* expected; };

void CheckFormats(const TestLocale& locale, const std::vector<FormatRow>& rows) {
  const UseLocale in_force(locale);
  for (const FormatRow& row : rows) {
    FieldBuffer out;
    const bool fits = FldFmtNum(out, row.value, row.len, row.prec, row.letters);
    const std::string input =
        std::to_string(row.value) + " " + std::to_string(row.len) + "." + std::to_string(row.prec) + " " + row.letters;
    EXPECT_EQ(out.View(), row.expected) << input;
    EXPECT_EQ(fits, out.View() != std::string(static_cast<size_t>(std::max(row.len, 0)), locale.overflow[0])) << input;
  }
}

TEST(FmtNum, FitsOrGivesWay) {
  CheckFormats(NO_GROUPS, {
      {1234.5, 8, 2, "", "1234.5"},       {1234.5, 8, 2, "R", "  1234.5"},    {1234.5, 8, 2, "T", "1234.50"},
      {1234.5, 8, 2, "RZT", "01234.50"},  {1234.5, 8, 2, "RrLx", "1234.5"},   {1234.5, 8, 2, "LRt", "  1234.5"},
      {0.5, 8, 2, "", ".5"},              {0.5, 8, 2, "P", "0.5"},            {0.5, 2, 1, "P", ".5"},
      {0.5, 2, 1, "Z", "??"},             {0.5, 3, 2, "Z", "0.5"},            {-0.5, 3, 1, "P", "???"},
      {0, 5, 2, "", ""},                  {0, 5, 2, "R", "     "},            {0, 5, 2, "BR", ""},
      {0, 5, 2, "RTP", " 0.00"},          {0, 5, 2, "RT", "  .00"},           {0, 5, 0, "R", "    0"},
      {0, 5, 0, "B", ""},                 {0, 1, 2, "T", ""},                 {0, 4, 2, "RZ", "0000"},
      {123456, 4, 0, "", "????"},         {1234, 4, 0, "GT", "1234"},         {1234.5, 6, 2, "RT", "1234.5"},
      {12345.678, 7, 3, "RT", "???????"}, {12345.678, 7, 1, "RT", "12345.7"}, {1234.5, 6, 2, "Z", "??????"},
      {-5, 3, 0, "RS", " 5"},             {-5, 3, 0, "R", " -5"},             {-5, 1, 0, "S", "?"},
      {-1234, 4, 0, "S", "????"},         {-1234, 5, 0, "S", "1234"},         {-0.5, 4, 2, "", "-.5"},
      {-0.5, 3, 1, "", "???"},            {-0.5, 3, 2, "Z", "-.5"},           {-0.5, 5, 0, "R", "    0"},
      {-0.001, 6, 2, "P", "0"},           {99.995, 5, 2, "R", "  100"},       {1234.5, -3, 1, "", ""},
  });
}

TEST(FmtNum, GroupsAndSignsByTheLocale) {
  CheckFormats(ENGLISH, {
      {-1234.5, 9, 1, "RG", " -1,234.5"},  {-1234.5, 9, 1, "RGZ", "-01,234.5"}, {123456, 9, 0, "RGZ", "0,123,456"},
      {-123456, 9, 0, "RGZ", " -123,456"}, {-123456, 9, 0, "GZ", "-123,456"},   {-123456, 10, 0, "RGZ", "-0,123,456"},
      {-123456, 8, 0, "G", "-123,456"},    {-123456, 7, 0, "G", "-123456"},     {1234, 4, 0, "G", "1234"},
      {1234, 4, 0, "RZG", "1234"},         {0.5, 8, 2, "GP", "0.5"},            {1234567.9, 11, 1, "G", "1,234,567.9"},
      {123, 8, 0, "RG", "     123"},       {1, 8, 0, "RGZ", "0000,001"},        {0, 8, 2, "RGZ", "00000000"},
      {-1, 8, 0, "RGZ", "-000,001"},       {1234.5, 7, 2, "GT", "1234.50"},     {1234.5, 6, 2, "GT", "1234.5"},
  });
  CheckFormats(GERMAN, {{-1234.5, 9, 1, "G", "-1.234,5"}, {-0.5, 3, 2, "ZG", "-,5"}, {0.5, 3, 2, "RG", " ,5"}});
  CheckFormats(THREE_TWO, {{-1234567, 12, 0, "G", "~12'34'567"}, {123456, 3, 0, "G", "***"}});
  CheckFormats(THREE_ONCE, {{1234567, 12, 0, "G", "1234,567"}});
  CheckFormats(WIDE_SIGNS, {{1234567.5, 12, 1, "G", "1234567.5"}});
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

TEST(FmtNum, TracesEveryAttempt) {
  const test::TraceCapture trace("F2");
  FieldBuffer out;
  FldFmtNum(out, 1234.5, 4, 1, "RBZTPGS");
  const std::vector<std::string> expected = {
      "F2: FmtNum(val=1234.500000000000, len=4, prec=1)",
      "F2:   flags: FMT_RIGHT FMT_BZERO FMT_LZERO FMT_TZERO FMT_PZERO FMT_GROUP FMT_RSIGN ",
      "F2: FmtNum(val=1234.500000000000, len=4, prec=1)",
      "F2:   flags: FMT_RIGHT FMT_BZERO FMT_LZERO FMT_TZERO FMT_PZERO FMT_RSIGN ",
      "F2: FmtNum(val=1234.500000000000, len=4, prec=1)",
      "F2:   flags: FMT_RIGHT FMT_BZERO FMT_LZERO FMT_PZERO FMT_RSIGN ",
      "F2:   OVERFLOW"};
  EXPECT_EQ(trace.Lines(), expected);
}

// ---- Scanning -------------------------------------------------------------------------------------------------------

// clang-format off
TEST(FmtCheckValid, ReadsSetsAndClasses) {
  const UseLocale in_force(GERMAN);
  const struct { const char* text; const char* valid; ValidOutcome outcome; char badchar; } rows[] = {
      {"a\tb", "", VALID_REFUSED, '\t'},           {"a\tb", "a\tb", VALID_REFUSED, '\t'},
      {"\xff", "", VALID_REFUSED, '\xff'},         {"x y!", "", VALID_ALLOWED, 0},
      {"12a", "0123", VALID_REFUSED, 'a'},         {"123", "0123", VALID_ALLOWED, 0},
      {"12a", "[0-9]*", VALID_REFUSED, 'a'},       {"123", "[0-9]*", VALID_ALLOWED, 0},
      {"\xe4", "[A-Z]*", VALID_REFUSED, '\xe4'},   {"\xc4Z", "[A-Z]*", VALID_ALLOWED, 0},
      {"A\xe4", "[^a-z]*", VALID_REFUSED, '\xe4'}, {"\xc4", "[A-Y]*", VALID_REFUSED, '\xc4'},
      {"]", "[^]a]*", VALID_REFUSED, ']'},         {"]", "[]]*", VALID_ALLOWED, 0},
      {"a-b", "[a-]*", VALID_REFUSED, 'b'},        {"+-a", "[-+a]*", VALID_ALLOWED, 0},
      {"d", "[a-c-e]*", VALID_REFUSED, 'd'},       {"b-", "[a-c-e]*", VALID_ALLOWED, 0},
      {"^", "[a^]*", VALID_ALLOWED, 0},            {"]*", "]*", VALID_ALLOWED, 0},
      {"", "[0-9]", VALID_MALFORMED, 0},           {"1", "[9-0]*", VALID_MALFORMED, 0},
      {"1", "[", VALID_MALFORMED, 0},              {"1", "[^", VALID_MALFORMED, 0},
      {"1", "[]*", VALID_MALFORMED, 0},            {"1", "[0-", VALID_MALFORMED, 0},
      {"1", "[1]*x", VALID_MALFORMED, 0},
  };
  for (const auto& row : rows) {
    char badchar = 'x';
    EXPECT_EQ(FmtCheckValid(row.text, row.valid, badchar), row.outcome) << row.text << " in " << row.valid;
    EXPECT_EQ(badchar, row.badchar) << row.text << " in " << row.valid;
  }
}
struct ScanRow {
  const char* in; const char* value_type; int32_t prec; ScanCode code; double result; const char* out;
  double min = 0, max = 0;
  const char* valid = "";
};

void CheckScans(const TestLocale& locale, const std::vector<ScanRow>& rows) {
  const UseLocale in_force(locale);
  for (const ScanRow& row : rows) {
    double result = 99;
    FieldBuffer out;
    const ScanCode code = FldScanNum(result, out, row.in, row.value_type, row.prec, row.min, row.max, row.valid);
    EXPECT_EQ(code, row.code) << row.in << " " << row.value_type << " " << row.prec;
    EXPECT_EQ(result, row.result) << row.in << " " << row.prec;
    EXPECT_FALSE(std::signbit(result) && result == 0) << row.in;
    EXPECT_EQ(out.View(), row.out) << row.in << " " << row.prec;
  }
}

TEST(ScanNum, ReadsFromTheRight) {
  CheckScans(NO_GROUPS, {
      {"  -12.50", "", 2, SCAN_OK, -12.5, "-12.5"},    {"+ 12", "", 0, SCAN_OK, 12, "12"},
      {"12  ", "", 0, SCAN_OK, 12, "12"},              {"   ", "", 0, SCAN_OK, 0, ""},
      {"1.0", "", 0, SCAN_OK, 1, "1"},                 {"-.", "", 2, SCAN_OK, 0, ""},
      {"-.5", "", 2, SCAN_OK, -0.5, "-0.5"},           {"-0.001", "", 2, SCAN_OK, 0, ""},
      {"5.69", "", 1, SCAN_OK, 5.7, "5.7", 1, 5.69},   {"5.695", "", 2, SCAN_ABOVE_MAX, 0, "", 1, 5.69},
      {"2.675", "", 2, SCAN_OK, 2.67, "2.67"},         {"", "I", 0, SCAN_EMPTY, 0, ""},
      {"100", "", 2, SCAN_OK, 100, "100"},             {"1", "I", -1, SCAN_BAD_CALL, 0, ""},
      {"1", "", 254, SCAN_BAD_CALL, 0, ""},            {"1", "I", MOST, SCAN_OK, 1, "1"},
      {"1,234", "", 2, SCAN_BAD_CHAR, 0, ","},         {"1e3", "", 2, SCAN_BAD_CHAR, 0, "e"},
      {"12 3", "", 0, SCAN_BLANK_INSIDE, 0, "2"},      {"- 12", "", 0, SCAN_BLANK_INSIDE, 0, "-"},
      {"12-", "", 0, SCAN_SIGN_POSITION, 0, ""},       {"1-2", "", 0, SCAN_SIGN_POSITION, 0, "1"},
      {"--2", "", 0, SCAN_SIGN_POSITION, 0, "-"},      {"1.2.3", "", 2, SCAN_SECOND_POINT, 0, ""},
      {"1.5", "", 0, SCAN_DECIMALS, 0, ""},            {"1.5", "D", 2, SCAN_DECIMALS, 0, ""},
      {"-32767", "I", 0, SCAN_OK, -32767, "-32767"},   {"32768", "i", 0, SCAN_ABOVE_MODE, 0, ""},
      {"-32768", "I", 0, SCAN_BELOW_MODE, 0, ""},      {"2147483647", "D", 0, SCAN_OK, 2147483647, "2147483647"},
      {"-2147483648", "d", 0, SCAN_BELOW_MODE, 0, ""}, {"999999.01", "S", 2, SCAN_ABOVE_MODE, 0, ""},
      {"1", "", 0, SCAN_BELOW_MIN, 0, "", 2, 3},       {"999999.01", "SS", 2, SCAN_OK, 999999.01, "999999.01"},
      {"4", "", 0, SCAN_ABOVE_MAX, 0, "", 2, 3},       {"0", "", 0, SCAN_BELOW_MIN, 0, "", 1, 0},
      {"1", "", 0, SCAN_ABOVE_MAX, 0, "", 1, 0},       {"12a", "", 0, SCAN_BAD_CHAR, 0, "a", 0, 0, "[0-9]*"},
      {"1\t", "", 0, SCAN_BAD_CHAR, 0, "\t"},          {"1", "", 0, SCAN_BAD_CHAR, 0, "", 0, 0, "[0-9]"},
  });
  CheckScans(GERMAN, {
      {"1.234.567", "", 0, SCAN_OK, 1234567, "1234567"}, {"1.234.567", "", 2, SCAN_OK, 1234567, "1234567"},
      {"1.234,5", "", 1, SCAN_OK, 1234.5, "1234.5"},     {"1.234", "", 0, SCAN_OK, 1234, "1234"},
      {"1.234", "", 2, SCAN_OK, 1.23, "1.23"},           {"1.2.3.4", "", 2, SCAN_OK, 1234, "1234"},
      {"1,234.5", "", 1, SCAN_BAD_CHAR, 0, ","},         {"1,2.3.4", "", 2, SCAN_BAD_CHAR, 0, ","},
      {"1,2,3", "", 2, SCAN_SECOND_POINT, 0, ""},        {"-1,5", "", 1, SCAN_OK, -1.5, "-1.5"},
  });
  CheckScans(THREE_TWO, {{"~1'2.5", "", 1, SCAN_OK, -12.5, "-12.5"}, {"-12", "", 0, SCAN_OK, -12, "-12"}});
}
// clang-format on

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
  const UseLocale in_force;
  const std::string many(5000, '0'), fill(254, '0');
  const std::string tie = "9007199254740993.";  // between two doubles; what follows decides
  const struct { std::string in; int32_t prec; ScanCode code; double result; } rows[] = {
      {many + "12.5" + many, 1, SCAN_OK, 12.5},     {"." + many + "1", 2, SCAN_OK, 0},
      {tie + many, 0, SCAN_OK, 9007199254740992},   {tie + many + "1", 1, SCAN_OK, 9007199254740994},
      {"2" + fill, 0, SCAN_OK, 2e254},              {"-2" + fill, 0, SCAN_BELOW_MODE, 0},
      {"2" + fill, 1, SCAN_ABOVE_MODE, 0},          {"-2" + fill + fill, 0, SCAN_BELOW_MODE, 0},
      {"1" + many, 0, SCAN_ABOVE_MODE, 0},
  };
  for (const auto& row : rows) {
    double result = 99;
    FieldBuffer out;
    EXPECT_EQ(FldScanNum(result, out, row.in, "", row.prec, 0, 0, ""), row.code) << row.in;
    EXPECT_EQ(result, row.result) << row.in;
  }
}
TEST(ScanNum, TracesWhatIsWrong) {
  const struct { const char* in; int32_t prec, mode; double min; const char* last_line; } rows[] = {
      {"5", 0, 5, 0, "F1: ScanNum() failed: invalid mode [5]"},
      {"5", -2, 0, 0, "F1: ScanNum() failed: prec=-2 (negative)"},
      {"", 0, 0, 0, "F2:   fld is empty"},
      {"1 2", 0, 0, 0, "F2:   fld[0]: invalid character '1' following white space"},
      {"1-2", 0, 0, 0, "F2:   fld[0]: invalid character '1' following sign"},
      {"x2", 0, 0, 0, "F2:   fld[0]: invalid character 'x'"},
      {"2-", 0, 0, 0, "F2:   fld[1]: invalid sign position"},
      {"1.2.3", 1, 0, 0, "F2:   fld[1]: invalid decimal point position"},
      {"1.5", 0, FMCHK_INT, 0, "F2:   illegal post decimal digits"},
      {"-99999", 0, FMCHK_INT, 0, "F2:   value out of range (too low)"},
      {"99999", 0, FMCHK_INT, 0, "F2:   value out of range (too high)"},
      {"1", 0, 0, 2, "F2:   value lower than minimum"},
      {"9", 0, 0, 2, "F2:   value higher than maximum"},
      {"3.50", 2, FMCHK_REAL, 2, "F2:   output=[3.5]"},
  };
  for (const auto& row : rows) {
    const test::TraceCapture trace("F2");
    double result = 0;
    FieldBuffer out;
    char badchar = 0;
    ScanNum(result, out, row.in, row.prec, row.min, 2 * row.min, row.mode, badchar);
    ASSERT_FALSE(trace.Lines().empty());
    EXPECT_EQ(trace.Lines().front(), "F2: ScanNum(" + std::string(row.in) + ")");
    EXPECT_EQ(trace.Lines().back(), row.last_line);
  }
}
// ---- The calls ------------------------------------------------------------------------------------------------------

TEST(NumberCalls, ScanNumAnswersTheHost) {
  const UseLocale in_force;
  const struct { const char* in; int32_t prec; double min; int32_t room, code, rc; const char* out; } rows[] = {
      {"12.50", 2, 0, 4, 0, 0, "12.5"}, {"12.50", 2, 0, 3, RESULT_TOO_SHORT, 0, ""}, {"", 2, 0, 9, 0, -1, ""},
      {"1x", 2, 0, 9, 0, 3, "x"},       {"1x", 2, 0, 0, RESULT_TOO_SHORT, 3, ""},    {"1.5", 0, 0, 9, 0, 1, ""},
      {"1 1", 2, 0, 9, 0, 1, ""},       {"1", -1, 0, 9, RESULT_REFUSED, 0, ""},      {"4", 2, 5, 9, 0, 2, ""},
      {"101", 2, 5, -1, 0, 2, ""},
  };
  for (const auto& row : rows) {
    TestString out(row.room);
    double result = 99;
    int32_t rc = 99;
    EXPECT_EQ(scan_Num(row.in, "L", row.prec, row.min, 100, "", result, out, IntByReference(&rc)), row.code) << row.in;
    EXPECT_EQ(rc, row.rc) << row.in;
    EXPECT_EQ(out.View(), row.out) << row.in;
    EXPECT_TRUE(out.GuardsIntact()) << row.in;
  }
}

TEST(NumberCalls, ChkNumWritesTheNormalForm) {
  const std::string longest = "1" + std::string(78, '0');
  const struct { std::string in; const char* type; int32_t code, rc; double res; std::string out; } rows[] = {
      {"1 234,5", "", 0, 0, 1234.5, "1234.5"},          {" 1 e 3 ", "L", 0, 0, 1000, "1000"},
      {"0.123456789012345", "", 0, 0, 0.123456789012345, "0.123456789012"}, {"1e-5", "", 0, 0, 1e-5, "1e-05"},
      {"", "I", 0, -1, 0, ""},                          {"   ", "?", 0, -1, 0, ""},
      {"12abc", "", 0, 1, 12, ""},                      {"abc", "?", 0, 1, 0, ""},
      {std::string("1\0", 2), "", 0, 1, 1, ""},         {"5", "i", RESULT_REFUSED, 99, 5, ""},
      {"-32767", "Ix", 0, 0, -32767, "-32767"},         {"32768", "I", 0, 2, 32768, ""},
      {"1.5", "I", 0, 2, 1.5, ""},                      {"2147483648", "D", 0, 2, 2147483648, ""},
      {"-2147483647", "D", 0, 0, -2147483647, "-2147483647"}, {"999999.5", "S", 0, 2, 999999.5, ""},
      {"1e999", "L", 0, 0, INFINITY, "inf"},            {"1e7", "", RESULT_TOO_SHORT, 0, 1e7, ""},
      {"1e999", "S", 0, 2, INFINITY, ""},               {"nan", "D", 0, 2, NAN, ""},
      {longest, "", 0, 0, 1e78, "1e+78"},               {longest + "0", "", RESULT_TOO_SHORT, 99, 99, longest + "0"},
  };
  for (const auto& row : rows) {
    TestString str(static_cast<int32_t>(row.in.size()) + 2, row.in);
    double res = 99;
    int32_t rc = 99;
    EXPECT_EQ(chk_Num(row.type, str, res, IntByReference(&rc)), row.code) << row.in;
    EXPECT_EQ(rc, row.rc) << row.in;
    EXPECT_TRUE(res == row.res || (std::isnan(res) && std::isnan(row.res))) << row.in << " gave " << res;
    EXPECT_EQ(str.View(), row.out) << row.in;
    EXPECT_TRUE(str.GuardsIntact()) << row.in;
  }
}
// clang-format on

TEST(FormatCalls, FillTheStringOrLeaveIt) {
  for (const int32_t room : {5, 4}) {
    TestString number(room, "old"), text(room, "old");
    EXPECT_EQ(fmt_Num(123456, 5, 0, "", number), room == 5 ? 0 : RESULT_TOO_SHORT);
    EXPECT_EQ(fmt_Text("abcdef", 5, "", text), room == 5 ? 0 : RESULT_TOO_SHORT);
    EXPECT_EQ(number.View(), room == 5 ? "?????" : "old");
    EXPECT_EQ(text.View(), room == 5 ? "abcde" : "old");
  }
}

}  // namespace
}  // namespace vorlix
