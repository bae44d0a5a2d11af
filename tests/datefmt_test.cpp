#include "dll/shared/datefmt.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "dll/field/calendar.h"
#include "dll/server/srvlocal.h"
#include "dll/shared/clilocal.h"
#include "dll/shared/csdx.h"
#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

// ---- Calendar -------------------------------------------------------------------------------------------------------

std::string Show(const std::tm& tm) {
  FieldBuffer text;
  FmtDate(text, tm, 60, "%d.%m.%Y %w %j %W/%Y");
  return std::string(text.View());
}

std::string ShowByTheLibrary(std::chrono::sys_seconds day) {
  const std::time_t seconds = day.time_since_epoch().count();
  std::tm tm;
  char text[60];
  return {text, std::strftime(text, sizeof text, "%d.%m.%Y %w %j %V/%G", gmtime_r(&seconds, &tm))};
}

// What is read from a text, shown again.
std::string Reread(const std::string& text, const char* fmt) {
  std::tm tm;
  return ScanDate(tm, text, fmt) == SCAN_OK ? Show(tm) : "refused";
}

TEST(Calendar, AgreesWithTheStandardLibrary) {
  using namespace std::chrono;
  constexpr sys_days FIRST = year(1700) / 3 / 1, LAST = year(2100) / 2 / 28;
  constexpr days FAR(89 * 120'000);  // into years of five digits
  bool near = false;                 // every day is looked at, and read as it is shown
  for (sys_days day = FIRST - FAR; day < LAST + FAR; day += near ? days(1) : days(89)) {
    near = day >= FIRST && day <= LAST;
    const std::string expected = ShowByTheLibrary(day);
    const year_month_day date(day);
    const int64_t number = DayNumber(int{date.year()}, unsigned{date.month()}, unsigned{date.day()});
    ASSERT_EQ(number, (day - FIRST).count() + 1) << expected;
    std::tm tm{};
    SetDate(tm, number);
    ASSERT_EQ(Show(tm), expected);
    if (!near) continue;
    ASSERT_EQ(Reread(expected.substr(0, 10), "%d.%m.%Y"), expected);
    ASSERT_TRUE(tm.tm_wday != 1 || Reread(expected.substr(17), "%W/%Y") == expected) << expected;
  }
}

// ---- Formats --------------------------------------------------------------------------------------------------------

// clang-format off
TEST(FmtDate, FollowsTheFormatsOfTheLocale) {
  const TestLocale chain{.date_time_format = "%x %X", .date_format = "% d.%m.%Y", .time_format = "%H:%M"};
  const TestLocale deepest{.date_time_format = "%x", .date_format = "%X", .time_format = "%H"};
  const TestLocale itself{.date_time_format = "a%c"};
  const TestLocale circle{.date_time_format = "%x%x", .date_format = "%X%X", .time_format = "%c%c"};
  const struct { const TestLocale& locale; const char* fmt; int32_t len; const char* expected; } rows[] = {
      {chain, "%x", 10, "05.03.1999"}, {chain, "%12x", 12, "   5.03.1999"}, {chain, "%-x", 10, "5.03.1999"},
      {chain, "%.4x", 10, "5.03"}, {chain, "%.4x", 9, "?????????"}, {chain, "%c", 16, "05.03.1999 08:00"},
      {chain, "%c", 15, "???????????????"}, {deepest, "%c", 4, "08"}, {itself, "%c", 4, "????"},
      {circle, "%c", 4, "????"},
  };
  std::tm tm{};
  SetDate(tm, DayNumber(1999, 3, 5));
  tm.tm_hour = 8;
  for (const auto& row : rows) {
    const UseLocale in_force(row.locale);
    FieldBuffer out;
    EXPECT_EQ(FmtDate(out, tm, row.len, row.fmt), row.expected[0] != '?') << row.fmt << " in " << row.len;
    EXPECT_EQ(out.View(), row.expected) << row.fmt << " in " << row.len;
  }
}
// clang-format on

TEST(FmtDate, OverflowsWhereAFieldIsOutsideItsRange) {
  FieldBuffer out;
  for (const int value : {INT32_MIN, -1, 60, INT32_MAX}) {
    std::tm tm{};
    tm.tm_mday = tm.tm_mon = tm.tm_year = tm.tm_wday = tm.tm_hour = tm.tm_min = tm.tm_sec = value;
    if (value == 60) tm.tm_hour = 24;
    for (const char* fmt : {"%a", "%A", "%b", "%B", "%d", "%H", "%I", "%m", "%M", "%p", "%S", "%W", "%8.1d"}) {
      EXPECT_FALSE(FmtDate(out, tm, 9, fmt)) << fmt << " of " << value;
      EXPECT_EQ(out.View(), "?????????") << fmt << " of " << value;
    }
    for (const char* fmt : {"%y %Y", "%w", "%j"}) EXPECT_TRUE(FmtDate(out, tm, 20, fmt)) << fmt << " of " << value;
  }
}

TEST(FmtDate, ShowsNamesOfAllLengths) {
  const UseLocale restored_in_the_end{TestLocale()};
  ASSERT_EQ(BuildLocale(), RESULT_OK);
  const std::string plain(CSDX_Contents()->substr(10));
  const size_t march = plain.find("5~March");
  std::tm tm{};
  SetDate(tm, DayNumber(1999, 3, 5));
  FieldBuffer out;
  for (size_t length = 0; length <= 20; ++length) {
    const std::string name = std::string("abcdefghijklmnopqrst").substr(0, length);
    const std::string text = std::string(plain).replace(march, 7, std::to_string(length) + "~" + name);
    ASSERT_EQ(GetLocaleInfo(text.data(), text.size()), LocaleInfo::Ok);
    EXPECT_TRUE(FmtDate(out, tm, 23, "<%B>!"));
    EXPECT_EQ(out.View(), "<" + name + ">!");
    EXPECT_TRUE(FmtDate(out, tm, 23, "%.7B|"));
    EXPECT_EQ(out.View(), name.substr(0, 7) + "|");
  }
  CSDX_Reset();
}

}  // namespace
}  // namespace vorlix::test
