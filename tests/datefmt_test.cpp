#include "dll/shared/datefmt.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

#include "dll/shared/calendar.h"
#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestLocale;
using test::UseLocale;

constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
constexpr int32_t MOST = std::numeric_limits<int32_t>::max();

// ---- Calendar -------------------------------------------------------------------------------------------------------

// The same date by the standard library; empty when nothing differs.
std::string CompareDate(std::chrono::sys_days day, int64_t number) {
  namespace ch = std::chrono;
  const ch::year_month_day ymd(day);
  const ch::weekday weekday(day);
  const auto thursday = day - ch::days(weekday.iso_encoding()) + ch::days(4);
  const ch::year week_year = ch::year_month_day(thursday).year();
  const int week = static_cast<int>((thursday - ch::sys_days(week_year / 1 / 1)).count() / 7 + 1);
  const auto year = int{ymd.year()};
  const auto month = static_cast<int>(unsigned{ymd.month()});
  const auto day_of_month = static_cast<int>(unsigned{ymd.day()});

  const CalendarDate date = DateOfDay(number);
  const CalendarWeek iso = WeekOfDay(number);
  const bool same = DayNumber(year, month, day_of_month) == number && date.year == year && date.month == month &&
                    date.day == day_of_month && DayOfYear(year, month, day_of_month) == date.day_of_year &&
                    date.day_of_year == (day - ch::sys_days(ymd.year() / 1 / 1)).count() &&
                    Weekday(number) == static_cast<int>(weekday.c_encoding()) && iso.week == week &&
                    iso.year == int{week_year} && MondayOfWeek(iso.year, iso.week) <= number &&
                    MondayOfWeek(iso.year, iso.week) + 7 > number;
  return same ? "" : std::to_string(year) + "-" + std::to_string(month) + "-" + std::to_string(day_of_month);
}

TEST(Calendar, AgreesWithTheStandardLibrary) {
  using namespace std::chrono;
  constexpr sys_days FIRST = year(1700) / 3 / 1;
  for (sys_days day = FIRST; day <= sys_days(year(2100) / 2 / 28); day += days(1))
    ASSERT_EQ(CompareDate(day, (day - FIRST).count() + 1), "");
  for (sys_days day = year(-32000) / 1 / 1; day < sys_days(year(32000) / 1 / 1); day += days(89))
    ASSERT_EQ(CompareDate(day, (day - FIRST).count() + 1), "");
}

TEST(Calendar, EveryDayIsReadAsItIsShown) {
  for (int64_t day = 1; day <= DayNumber(2100, 2, 28); ++day) {
    std::tm tm{}, read;
    SetDate(tm, day);
    FieldBuffer text;
    FmtDate(text, tm, 10, "%d.%m.%Y");
    ASSERT_EQ(ScanDate(read, text.View(), "%d.%m.%Y"), SCAN_OK) << text.View();
    ASSERT_TRUE(read.tm_year == tm.tm_year && read.tm_mon == tm.tm_mon && read.tm_mday == tm.tm_mday &&
                read.tm_wday == tm.tm_wday && read.tm_yday == tm.tm_yday)
        << text.View();
  }
}

TEST(Calendar, TakesValuesOfAnySize) {
  for (const int32_t value : {LEAST, LEAST + 1, -19990101, -101, -1, 1, 99, 99999, 9999999, 10000000, MOST - 1, MOST}) {
    FieldBuffer out;
    FldFmtDate(out, value, false, MOST, "%c %x %X %A %B %j %W %y %Y");
    FldFmtWeek(out, value, MOST, "KW", "%A %B %j %W %y %Y");
    FldFmtMonth(out, value, MOST, "%A %B %j %W %y %Y");
    FldFmtTime(out, value, MOST, "%I %p %H %M %S %j");
  }
}

// ---- Formats --------------------------------------------------------------------------------------------------------

std::tm MakeTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm tm{};
  SetDate(tm, DayNumber(year, month, day));
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  return tm;
}

std::string Times(const char* text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

// clang-format off
TEST(FmtDate, ShowsDirectives) {
  const UseLocale locale({.date_time_format = "%x %X", .date_format = "% d.%m.%Y", .time_format = "%H:%M", .pm = ""});
  const struct { std::string fmt; int32_t len; std::string expected; int hour = 8; } rows[] = {
      {"%d.%m.%Y %H:%M:%S", 19, "05.03.1999 08:05:09"}, {"%x", 10, "05.03.1999"}, {"%12x", 12, "   5.03.1999"},
      {"%-x", 10, "5.03.1999"}, {"%.4x", 10, "5.03"}, {"%.4x", 9, "?????????"}, {"%c", 16, "05.03.1999 08:05"},
      {"%c", 15, "???????????????"}, {"%I%p", 5, "08AM"}, {"%I%p", 5, "12", 12}, {"%I%p", 2, "??", 12},
      {"%255d", 255, Times(" ", 254) + "5"}, {"%256d", MOST, Times("?", 255)},
      {Times("%d", 127), MOST, Times("05", 127)}, {Times("%d", 128), MOST, Times("?", 255)},
      {std::string(70000, '-'), 20, Times("?", 20)}, {"%-00000000000000012e|", 21, "%-00000000000000012e|"},
  };
  for (const auto& row : rows) {
    FieldBuffer out;
    EXPECT_EQ(FmtDate(out, MakeTime(1999, 3, 5, row.hour, 5, 9), row.len, row.fmt), row.expected[0] != '?') << row.fmt;
    EXPECT_EQ(out.View(), row.expected) << row.fmt << " in " << row.len;
  }
}
// clang-format on

TEST(FmtDate, EndsWithFormatsThatHoldThemselves) {
  for (const TestLocale& names :
       {TestLocale{.overflow = "*", .date_time_format = "%c"}, TestLocale{.overflow = "*", .date_time_format = "a%c"},
        TestLocale{.overflow = "*", .date_time_format = "%x%x", .date_format = "%X%X", .time_format = "%c%c"}}) {
    const UseLocale locale(names);
    FieldBuffer out;
    EXPECT_FALSE(FmtDate(out, MakeTime(1999, 1, 1), 4, "%c")) << names.date_time_format;
    EXPECT_EQ(out.View(), "****");
  }
  const UseLocale chain({.date_time_format = "%x", .date_format = "%X", .time_format = "%H"});
  FieldBuffer out;
  FmtDate(out, MakeTime(1999, 1, 1, 7), 4, "%c");
  EXPECT_EQ(out.View(), "07");
}

TEST(FmtDate, OverflowsWhereAFieldIsOutsideItsRange) {
  FieldBuffer out;
  for (const int value : {LEAST, -1, 60, MOST}) {
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

// clang-format off
TEST(ScanDate, ReadsAllFields) {
  const struct { const char* fmt; const char* in; ScanCode code; const char* shown = ""; } rows[] = {
      {"%d.%m.%y", "31.12.99", SCAN_OK, "1999-12-31 00:00:00 5"}, {"%Y", "05", SCAN_OK, "2005-01-01 00:00:00 6"},
      {"%d%m%y", "1/2-59", SCAN_OK, "2059-02-01 00:00:00 6"}, {"%d%m%y", "01\t0260", SCAN_OK, "1960-02-01 00:00:00 1"},
      {"%H:%M:%S", "23:59:01", SCAN_OK, "1900-01-01 23:59:01 1"}, {"%d.%m", "24.12", SCAN_OK, "1900-12-24 00:00:00 1"},
      {"%W %Y %d", "53 2004 7", SCAN_OK, "2004-12-27 00:00:00 1"}, {"%d%m%y", "29.02.01", SCAN_BAD_DATE},
      {"", "1", SCAN_LEFT_OVER}, {"%d", "1 ", SCAN_LEFT_OVER}, {"%y", "1999", SCAN_LEFT_OVER}, {"%d", "", SCAN_EMPTY},
      {"%", "1", SCAN_BAD_DATE}, {"%Y", "199", SCAN_BAD_DATE}, {"%S", "60", SCAN_BAD_DATE},
      {"%d", "\xa0" "1", SCAN_BAD_DATE},
  };
  for (const auto& row : rows) {
    std::tm tm;
    EXPECT_EQ(ScanDate(tm, row.in, row.fmt), row.code) << row.in << " as " << row.fmt;
    if (row.code != SCAN_OK) continue;
    FieldBuffer shown;
    FmtDate(shown, tm, 40, "%Y-%m-%d %H:%M:%S %w");
    EXPECT_EQ(shown.View(), row.shown) << row.in << " as " << row.fmt;
  }
}
// clang-format on

}  // namespace
}  // namespace vorlix
