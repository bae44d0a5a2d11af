#include "dll/shared/textfmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestString;
using test::UseLocale;

// clang-format off
TEST(FmtText, TrimsAlignsAndCuts) {
  const UseLocale in_force({.overflow = "*", .upper_letters = "\xc4"});
  const struct { const char* text; int32_t len; const char* letters; const char* expected; } rows[] = {
      {"  ab c  ", 6, "", "ab c"},      {"  ab c  ", 6, "R", "  ab c"},  {"  ab c  ", 6, "C", " ab c"},
      {"  ab c  ", 6, "U", "AB C"},     {"  ab c  ", 6, "ZT", "  ab c"}, {"  ab c  ", 9, "T", "ab c  "},
      {"  ab c  ", 9, "Z", "  ab c"},   {"abcdefgh", 4, "", "abcd"},     {"abcdefgh", 4, "O", "****"},
      {"abcdefgh", 8, "O", "abcdefgh"}, {"", 5, "R", "     "},           {"   ", 5, "R", "     "},
      {"   ", 5, "", ""},               {"   ", 2, "ZTO", "**"},         {"   ", 2, "O", ""},
      {"abc", 6, "C", " abc"},          {"abc", 6, "CR", " abc"},        {"abc", 6, "RL", "abc"},
      {"abc", 6, "LR", "   abc"},       {"abc", 6, "rcu", "abc"},        {"abc", 0, "", ""},
      {"abc", -7, "R", ""},             {"aB", 6, "UV", "ab"},           {"aB", 6, "VU", "AB"},
      {"\ta", 6, "", "\ta"},            {"\xe4", 6, "U", "\xc4"},        {"\xc4", 6, "V", "\xe4"},
  };
  for (const auto& row : rows) {
    FieldBuffer out;
    const bool fits = FldFmtText(out, row.text, row.len, row.letters);
    EXPECT_EQ(out.View(), row.expected) << row.text << " " << row.len << " " << row.letters;
    EXPECT_EQ(fits, row.len > 0 && !out.View().starts_with('*')) << row.text << " " << row.len << " " << row.letters;
  }
}
// clang-format on

TEST(FmtText, IsBoundedForEveryLength) {
  constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
  constexpr int32_t MOST = std::numeric_limits<int32_t>::max();
  const UseLocale in_force;
  for (const size_t size : {0U, 1U, 254U, 255U, 256U, 5000U}) {
    const std::string text(size, 'a');
    for (const int32_t len : {LEAST, -1, 0, 1, 254, 255, 256, 509, 510, 511, 512, MOST}) {
      for (const char* letters : {"", "R", "C", "U", "O", "RU"}) {
        FieldBuffer out;
        const bool fits = FldFmtText(out, text, len, letters);
        const auto width = static_cast<size_t>(std::clamp(len, 0, FIELD_MAX));
        const bool good = fits ? len > 0 && (out.Length() <= width && (letters[0] != 'R' || len <= FIELD_MAX))
                               : out.View() == std::string(width, '?');
        ASSERT_TRUE(good) << size << " in " << len << " " << letters << " [" << out.View() << "]";
      }
    }
  }
}

TEST(FmtText, TracesFlagsAndOutcome) {
  const test::TraceCapture trace("F2");
  FieldBuffer out;
  FldFmtText(out, "a%sb", 4, "RCZTUO");
  FldFmtText(out, "ab", 0, "V");
  const std::vector<std::string> expected = {"F2: FmtText(txt='a%sb', len=4)",
                                             "F2:   flags: FMT_RIGHT FMT_CENTR FMT_LBLNK FMT_TBLNK FMT_UCASE FMT_OVFL ",
                                             "F2:   output=[A%SB]",
                                             "F2: FmtText(txt='ab', len=0)",
                                             "F2:   flags: FMT_LEFT FMT_LCASE ",
                                             "F2:   OVERFLOW"};
  EXPECT_EQ(trace.Lines(), expected);
}

// clang-format off
TEST(TextCalls, ScanTextChecksWhatItFormats) {
  const UseLocale in_force;
  const struct {
    const char* in; int32_t len; const char* letters; const char* valid; int32_t room, code, rc; const char* out;
  } rows[] = {
      {"   ", 5, "", "[x]*", 9, 0, 0, ""},      {"", 5, "", "[", 9, 0, -1, ""},
      {" x1 ", 5, "U", "[A-Z]*", 9, 0, 3, "1"}, {" x1 ", 5, "U", "X1", 9, 0, 0, "X1"},
      {"x", 3, "R", "x", 9, 0, 3, " "},         {"x", 3, "", "[x", 9, 0, 3, ""},
      {"abc", 2, "O", "abc", 9, 0, 3, "?"},     {"abc", 2, "O", "", 9, 0, 0, "??"},
      {"abc", 3, "", "", 2, RESULT_TOO_SHORT, 0, ""},
  };
  for (const auto& row : rows) {
    TestString out(row.room, "old");
    int32_t rc = 99;
    EXPECT_EQ(scan_Text(row.in, row.len, row.letters, row.valid, out, IntByReference(&rc)), row.code) << row.in;
    EXPECT_EQ(rc, row.rc) << row.in;
    EXPECT_EQ(out.View(), row.out) << row.in;
  }
}
// clang-format on

}  // namespace
}  // namespace vorlix
