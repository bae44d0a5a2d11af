#include "dll/shared/datefmt.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/calendar.h"
#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestLocale;
using test::TestString;
using test::TraceCapture;
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

// clang-format off
TEST(Calendar, TakesValuesOfAnySize) {
  struct Row { int32_t value; bool is_greg; const char* expected; };
  for (const Row& row : std::vector<Row>{
      {10227, true, "31.12.1999 5 365"}, {-1, true, "30.12.1971 4 364"}, {MOST, true, "10.07.5881582 6 191"},
      {LEAST, true, "21.06.-5877639 3 172"}, {19711231, false, "31.12.1971 5 365"}, {991231, false, "31.12.1999 5 365"},
      {19990231, false, "03.03.1999 3 062"}, {19001301, false, "01.01.1901 2 001"},
      {18000229, false, "01.03.1800 6 060"}, {17000101, false, "01.01.1700 5 001"},
      {21001231, false, "31.12.2100 5 365"}, {30000101, false, "01.01.3000 3 001"},
      {MOST, false, "21.01.214751 0 021"}}) {
    FieldBuffer out;
    EXPECT_TRUE(FldFmtDate(out, row.value, row.is_greg, 30, "%d.%m.%Y %w %j"));
    EXPECT_EQ(out.View(), row.expected) << row.value;
  }
  for (const int32_t value : {LEAST, LEAST + 1, -19990101, -101, -1, 1, 99, 99999, 9999999, 10000000, MOST - 1, MOST}) {
    FieldBuffer out;
    FldFmtDate(out, value, false, MOST, "%c %x %X %A %B %j %W %y %Y");
    FldFmtWeek(out, value, MOST, "KW", "%A %B %j %W %y %Y");
    FldFmtMonth(out, value, MOST, "%A %B %j %W %y %Y");
    FldFmtTime(out, value, MOST, "%I %p %H %M %S %j");
  }
}
// clang-format on

// ---- Formats --------------------------------------------------------------------------------------------------------

std::tm MakeTime(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  std::tm tm{};
  SetDate(tm, DayNumber(year, month, day));
  tm.tm_hour = hour;
  tm.tm_min = minute;
  tm.tm_sec = second;
  return tm;
}

struct FormatRow {
  std::string fmt;
  int32_t len;
  std::string expected;
};

// A text of overflow characters is what an overflow leaves.
void CheckFormats(const std::tm& tm, const std::vector<FormatRow>& rows) {
  for (const FormatRow& row : rows) {
    FieldBuffer out;
    const bool fits = FmtDate(out, tm, row.len, row.fmt);
    EXPECT_EQ(out.View(), row.expected) << row.fmt << " in " << row.len;
    EXPECT_EQ(fits, row.expected.empty() ? row.fmt.empty() || row.len > 0 : row.expected[0] != '?') << row.fmt;
  }
}

std::string Times(const char* text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

// clang-format off
TEST(FmtDate, ShowsDirectives) {
  const UseLocale locale({.overflow = "?", .date_time_format = "%x %X", .date_format = "% d.%m.%Y",
                          .time_format = "%H:%M", .pm = ""});
  CheckFormats(MakeTime(1999, 3, 5, 8, 5, 9), {
      {"%a|%A|%b|%B", 40, "Fri|Friday|Mar|March"}, {"%d.%m.%Y %H:%M:%S", 19, "05.03.1999 08:05:09"},
      {"%y %j %w %I %p %W", 20, "99 064 5 08 AM 09"}, {"100%%", 4, "100%"}, {"%d.%m.%Y", 10, "05.03.1999"},
      {"%d.%m.%Y", 9, "?????????"}, {"%d.%m.%Y", 8, "????????"}, {"%d", 2, "05"}, {"%d", 1, "?"}, {"%d", 0, ""},
      {"", 0, ""}, {"", -5, ""}, {"x", -5, ""}, {"%-d.%-m.", 10, "5.3."}, {"%5d", 5, "    5"}, {"%-5d|", 6, "5    |"},
      {"%05d", 5, "00005"}, {"%1d", 5, " 5"}, {"%.2d", 5, "5"}, {"% d", 5, " 5"}, {"%0d", 5, "05"}, {"%-0d", 5, "5"},
      {"%05.1j", 5, "00006"}, {"%-5.2j|", 9, "64   |"}, {"% j", 3, " 64"}, {"%.0d", 3, ""}, {"%.d|", 3, "|"},
      {"%.3B", 3, "Mar"}, {"%6.2A", 6, "    Fr"}, {"%-6.2A|", 7, "Fr    |"}, {"%06.2A", 6, "0000Fr"},
      {"%2B", 5, "March"}, {"%2B", 4, "????"}, {"%.2Y", 4, "19"}, {"%x", 10, "05.03.1999"},
      {"%12x", 12, "   5.03.1999"}, {"%-x", 10, "5.03.1999"}, {"%.4x", 10, "5.03"}, {"%.4x", 9, "?????????"},
      {"%c", 16, "05.03.1999 08:05"}, {"%c", 15, "???????????????"}, {"%e%T%Z%", 20, "%e%T%Z%"}, {"%-5e", 4, "%-5e"},
      {"%-5e", 3, "???"}, {"%5%", 9, "%5%"}, {"%0-5d", 9, "%0-5d"}, {"%99999999999d", 300, Times("?", 255)},
      {"%255d", 255, Times(" ", 254) + "5"}, {"%256d", MOST, Times("?", 255)},
      {Times("%d", 128), MOST, Times("?", 255)}, {Times("%d", 127), MOST, Times("05", 127)},
      {std::string(70000, '-'), 20, Times("?", 20)},
  });
  CheckFormats(MakeTime(2005, 1, 1, 12), {
      {"%I%p", 5, "12"}, {"%I%p", 2, "??"}, {"%y", 2, "05"}, {"% y", 2, " 5"}, {"%A.%B", 16, "Saturday.January"},
      {"%-00000000000000012e|", 21, "%-00000000000000012e|"},
  });
  CheckFormats(MakeTime(1900, 1, 1), {{"%I %p", 5, "12 AM"}, {"%y %.3b", 9, "00 Jan"}});
  CheckFormats(MakeTime(1849, 7, 31, 13), {{"%y %Y %I", 10, "51 1849 01"}});
}

TEST(FmtDate, ShowsTheYearOfTheWeekNextToIt) {
  const UseLocale locale({.date_format = "%Y"});
  CheckFormats(MakeTime(2001, 12, 31), {
      {"%d.%m.%Y (%W)", 15, "31.12.2002 (01)"}, {"%W/%y", 5, "01/02"}, {"%Y", 4, "2001"},
      {"%Y-%m-%d %W", 20, "2002-12-31 01"}, {"%Y-%m-%d %W %H", 20, "2001-12-31 01 00"}, {"%Y %W %H", 20, "2002 01 00"},
      {"%W %d %Y", 20, "01 31 2001"}, {"%d %W %Y", 20, "31 01 2002"}, {"%Y %W %y", 20, "2001 01 02"},
      {"%W %Y %Y", 20, "01 2002 2001"}, {"%y %Y %W", 20, "01 2002 01"}, {"%Y %e %W %%", 20, "2002 %e 01 %"},
      {"%Y %e %W %e", 20, "2001 %e 01 %e"}, {"%x %W", 20, "2001 01"}, {"%Y%W", 5, "?????"},
  });
  CheckFormats(MakeTime(2005, 1, 1), {{"%W/%Y", 9, "53/2004"}});
  CheckFormats(MakeTime(1000, 1, 1), {{"%W/%Y", 9, "01/1000"}});
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
}

TEST(FmtDate, OverflowsWhereAFieldIsOutsideItsRange) {
  std::tm low{}, high{};
  low.tm_mday = low.tm_mon = low.tm_year = low.tm_wday = low.tm_hour = low.tm_min = low.tm_sec = LEAST;
  high.tm_mday = high.tm_mon = high.tm_year = high.tm_wday = high.tm_hour = high.tm_min = high.tm_sec = MOST;
  FieldBuffer out;
  for (const char* fmt : {"%a", "%A", "%b", "%B", "%d", "%H", "%I", "%m", "%M", "%p", "%S", "%W", "%8.1d"}) {
    EXPECT_FALSE(FmtDate(out, low, 9, fmt)) << fmt;
    EXPECT_FALSE(FmtDate(out, high, 9, fmt)) << fmt;
    EXPECT_EQ(out.View(), "?????????") << fmt;
  }
  for (const char* fmt : {"%y %Y", "%w", "%j"}) {
    EXPECT_TRUE(FmtDate(out, low, 20, fmt)) << fmt;
    EXPECT_TRUE(FmtDate(out, high, 20, fmt)) << fmt;
  }
}

// clang-format off
TEST(ScanDate, ReadsWhatTheFormatAsksFor) {
  struct Row { const char* fmt; std::string in; ScanCode code; std::string shown = ""; };
  for (const Row& row : std::vector<Row>{
      {"%d.%m.%y", "31.12.99", SCAN_OK, "1999-12-31 00:00:00 5"},
      {"%d.%m.%y", "1.1.05", SCAN_OK, "2005-01-01 00:00:00 6"}, {"%d%m%y", "1/2-59", SCAN_OK, "2059-02-01 00:00:00 6"},
      {"%d%m%y", "010260", SCAN_OK, "1960-02-01 00:00:00 1"},
      {"%-d., %05m%%%.2Y", " 1\t.,2 1999", SCAN_OK, "1999-02-01 00:00:00 1"},
      {"%Y", "05", SCAN_OK, "2005-01-01 00:00:00 6"}, {"%d.%m", "24.12", SCAN_OK, "1900-12-24 00:00:00 1"},
      {"%H:%M:%S", "23:59:01", SCAN_OK, "1900-01-01 23:59:01 1"}, {"%W/%y", "01/05", SCAN_OK, "2005-01-03 00:00:00 1"},
      {"%W/%Y", "53/2004", SCAN_OK, "2004-12-27 00:00:00 1"}, {"%W %Y", "0 2005", SCAN_OK, "2004-12-27 00:00:00 1"},
      {"%W %Y", "53 2005", SCAN_OK, "2006-01-02 00:00:00 1"},
      {"%W %Y %d %m", "1 2005 31 2", SCAN_OK, "2005-01-03 00:00:00 1"},
      {"%d%m%Y", "29021600", SCAN_OK, "1600-02-29 00:00:00 2"}, {"%Y", "0099", SCAN_OK, "1999-01-01 00:00:00 5"},
      {"%Y", "9999", SCAN_OK, "9999-01-01 00:00:00 5"}, {"%d%m%Y", "29022000", SCAN_OK, "2000-02-29 00:00:00 2"},
      {"%d%d", "3112", SCAN_OK, "1900-01-12 00:00:00 5"}, {"%d", "", SCAN_EMPTY}, {"", "1", SCAN_LEFT_OVER},
      {"%d", "1 ", SCAN_LEFT_OVER}, {"%d.%m.%y", "31.12.99x", SCAN_LEFT_OVER}, {"%d", "011", SCAN_LEFT_OVER},
      {"%y", "1999", SCAN_LEFT_OVER}, {"%d", " ", SCAN_BAD_DATE}, {"%d", "x1", SCAN_BAD_DATE},
      {"%d", "\xa0" "1", SCAN_BAD_DATE}, {"%d", "0", SCAN_BAD_DATE}, {"%d", "32", SCAN_BAD_DATE},
      {"%m", "0", SCAN_BAD_DATE}, {"%m", "13", SCAN_BAD_DATE}, {"%H", "24", SCAN_BAD_DATE}, {"%M", "60", SCAN_BAD_DATE},
      {"%S", "60", SCAN_BAD_DATE}, {"%W", "54", SCAN_BAD_DATE}, {"%y", "5", SCAN_BAD_DATE},
      {"%Y", "199", SCAN_BAD_DATE}, {"%Y", "1", SCAN_BAD_DATE}, {"%j", "1", SCAN_BAD_DATE}, {"%", "1", SCAN_BAD_DATE},
      {"%5%", "1", SCAN_BAD_DATE}, {"%d.%m.%y", "29.02.01", SCAN_BAD_DATE}, {"%d%m%Y", "29021900", SCAN_BAD_DATE},
      {"%d%m%Y", "31042000", SCAN_BAD_DATE}, {"%d%m", "2902", SCAN_BAD_DATE}}) {
    std::tm tm;
    EXPECT_EQ(ScanDate(tm, row.in, row.fmt), row.code) << row.in << " as " << row.fmt;
    if (row.code != SCAN_OK) continue;
    FieldBuffer shown;
    FmtDate(shown, tm, 40, "%Y-%m-%d %H:%M:%S %w");
    EXPECT_EQ(shown.View(), row.shown) << row.in << " as " << row.fmt;
  }
}

// ---- Fields ---------------------------------------------------------------------------------------------------------

int32_t Show(char family, int32_t value, int32_t len, const char* vtyp, const char* fmt, String out) {
  switch (family) {
    case 'G': return fmt_Date(value, 1, len, fmt, out);
    case 'D': return fmt_Date(value, 0, len, fmt, out);
    case 'T': return fmt_Time(value, len, fmt, out);
    case 'W': return fmt_Week(value, len, vtyp, fmt, out);
    default: return fmt_Month(value, len, fmt, out);
  }
}

TEST(DateFields, AreShown) {
  const UseLocale locale;
  struct Row { char family; int32_t value, len; const char *fmt, *expected; const char* vtyp = ""; int32_t mode = 0; };
  for (const Row& row : std::vector<Row>{
      {'G', 10227, 10, "%d.%m.%Y", "31.12.1999"}, {'D', 19991231, 10, "%d.%m.%Y", "31.12.1999"},
      {'D', 19991231, 8, "%d.%m.%Y", "????????"}, {'G', 0, 8, "%d.%m.%Y", ""}, {'D', 19991231, 0, "", ""},
      {'D', 19991231, 0, "%d", ""}, {'T', 45000, 5, "%H:%M", "12:30"}, {'T', 0, 5, "%H:%M", ""},
      {'T', 36, 8, "%H:%M:%S", "00:01:36"}, {'T', 3599, 5, "%H:%M", "01:00"},
      {'T', 86400 + 86399, 9, "%H:%M %j", "00:00 003"}, {'T', MOST, 11, "%H:%M %j", "03:14 24856"},
      {'T', 45000, 10, "%d", "??????????"}, {'T', 45000, 5, "%W", "?????"}, {'T', -1, 5, "%H:%M", "?????"},
      {'T', -86400, 2, "%S", "??"}, {'T', 3600, 5, "", ""}, {'W', 200453, 5, "", "53/04", "KW"},
      {'W', 200453, 0, "", "53/04"}, {'W', 200453, 4, "", "????", "KW"}, {'W', 200453, 0, "%W", "", "KW"},
      {'W', 20011231, 15, "%d.%m.%Y (%W)", "31.12.2002 (01)", "KW"}, {'W', 20011231, 0, "", "01/02", "kw"},
      {'W', 20011231, 0, "", "31.12.01", "YMD", 2}, {'W', 20011231, 5, "", "?????", "YMD"},
      {'W', 501, 0, "", "01/05", "KW", 1}, {'W', 99999, 9, "%W/%Y", "46/2900", "KW", 1},
      {'W', 100101, 0, "", "01.01.10", "", 1}, {'W', 100101, 9, "%W/%Y", "01/1001"}, {'W', 9999999, 12, "%Y", "100000"},
      {'W', 0, 5, "", "", "KW"}, {'M', 200512, 5, "%m/%y", "12/05"}, {'M', 512, 7, "%m/%Y", "12/1905"},
      {'M', 200512, 7, "", ""}, {'M', 200513, 7, "%m/%Y", "01/2006"}, {'M', 200512, 4, "%m/%y", "????"},
      {'M', 0, 5, "%m/%y", ""}}) {
    dict_Y2kMode(row.mode);
    TestString out(40);
    EXPECT_EQ(Show(row.family, row.value, row.len, row.vtyp, row.fmt, out), 0) << row.value << row.fmt;
    EXPECT_EQ(out.View(), row.expected) << row.value << " " << row.vtyp << " " << row.fmt;
  }
  dict_Y2kMode(0);
  TestString narrow(4, "old");
  EXPECT_EQ(fmt_Date(10227, 1, 10, "%d.%m.%Y", narrow), RESULT_TOO_SHORT);
  EXPECT_EQ(narrow.View(), "old");
}

using ScanCall = decltype(&scan_Date);

struct ScanRow {
  ScanCall call;
  const char *in, *fvt, *fmt;
  int32_t rc, result;
  int32_t mode = 0;
  const char* valid = "";
  const char* refused = "";
};

void CheckScans(const std::vector<ScanRow>& rows) {
  for (const ScanRow& row : rows) {
    dict_Y2kMode(row.mode);
    int32_t result = -7, rc = -7;
    TestString out(12, "old");
    EXPECT_EQ(row.call(row.in, row.fvt, row.fmt, row.valid, IntByReference(&result), out, IntByReference(&rc)), 0);
    const std::string input = std::string(row.in) + " " + row.fvt + " as " + row.fmt + " " + std::to_string(row.mode);
    EXPECT_EQ(rc, row.rc) << input;
    EXPECT_EQ(result, row.result) << input;
    EXPECT_EQ(out.View(), row.rc == 0 ? std::to_string(row.result) : row.refused) << input;
  }
  dict_Y2kMode(0);
}

TEST(DateFields, AreScanned) {
  const UseLocale locale;
  const char* dmy = "%d.%m.%y";
  CheckScans({
      {scan_Date, "31.12.99", "GREG", dmy, 0, 10227}, {scan_Date, "31.12.99", "ymd", dmy, 0, 991231},
      {scan_Date, "31.12.99", "CYMD", dmy, 0, 19991231}, {scan_Date, "01.01.00", "CYMD", dmy, 0, 101, 1},
      {scan_Date, "31.12.99", "YMD", dmy, 0, 19991231, 2}, {scan_Date, "31.12.99", "greg", dmy, 0, 10227, 1},
      {scan_Date, "31.12.1971", "GREG", "%d.%m.%Y", 0, 0}, {scan_Date, "30.12.1971", "GREG", "%d.%m.%Y", 0, -1},
      {scan_Date, "24.12", "", "%d.%m", 0, 19001224}, {scan_Date, "02/05", "", dmy, 0, 20050110},
      {scan_Date, "31.12.99", "", "", 0, 19991231}, {scan_Date, "29.02.01", "", dmy, 1, 0},
      {scan_Date, "31.12.99x", "", dmy, 1, 0}, {scan_Date, "", "", dmy, -1, 0},
      {scan_Date, "31.12.99", "", dmy, 3, 0, 0, "0123456789", "."}, {scan_Date, "31\x01", "", dmy, 3, 0, 0, "", "\x01"},
      {scan_Date, "31.12.99", "", dmy, 3, 0, 0, "[0-9", ""},
      {scan_Date, "31.12.99", "", dmy, 0, 19991231, 0, "[.0-9]*"}, {scan_Time, "12:30", "hm60", "%H:%M", 0, 1250},
      {scan_Time, "0:01", "HM60", "%H:%M", 0, 2}, {scan_Time, "0:00", "HM60", "%H:%M", 0, 0},
      {scan_Time, "23.59", "HM60", "%H:%M:%S", 0, 2398}, {scan_Time, "24:00", "HM60", "%H:%M", 1, 0},
      {scan_Time, "", "HM60", "%H:%M", -1, 0}, {scan_Time, "12.5", "", "", 0, 1250},
      {scan_Time, "0.29", "HM", "", 0, 29}, {scan_Time, "-1.5", "", "", 0, -149}, {scan_Time, "", "", "", -1, 0},
      {scan_Time, "1x", "", "", 3, 0, 0, "", ""}, {scan_Time, "1x", "", "", 3, 0, 0, "0123456789", "x"},
      {scan_Time, "1 2", "", "", 1, 0}, {scan_Time, "21474836.47", "", "", 0, MOST},
      {scan_Time, "21474836.48", "", "", 1, 0}, {scan_Time, "-99999999999", "", "", 1, 0},
      {scan_Week, "01/05", "KW", "%W/%y", 0, 200501}, {scan_Week, "01/05", "KW", "%W/%y", 0, 501, 1},
      {scan_Week, "53/2005", "", "%W/%Y", 0, 200601, 2}, {scan_Week, "31.12.01", "", dmy, 0, 200201},
      {scan_Week, "31.12.01", "YMD", "%W/%y", 0, 20011231}, {scan_Week, "31.12.01", "", "%W/%y", 0, 11231, 1},
      {scan_Week, "31.12.01", "kw", "%W/%y", 0, 200201}, {scan_Week, "54/05", "KW", "%W/%y", 1, 0},
      {scan_Week, "01/05", "", dmy, 0, 200501}, {scan_Week, "", "KW", "%W/%y", -1, 0},
      {scan_Week, "1-5", "KW", "", 3, 0, 0, "/0123456789", "-"},
      {scan_Month, "12/05", "", "%m/%y", 0, 200512}, {scan_Month, "12/05", "", "%m/%y", 0, 512, 1},
      {scan_Month, "1/1999", "", "%m/%Y", 0, 199901, 2}, {scan_Month, "1/99", "", "%d.%m.%y", 0, 199901},
      {scan_Month, "13/99", "", "%m/%y", 1, 0}, {scan_Month, "", "", "%m/%y", -1, 0},
  });
  int32_t result = 1, rc = 1;
  TestString narrow(4);
  EXPECT_EQ(scan_Date("31.12.99", "GREG", dmy, "", IntByReference(&result), narrow, IntByReference(&rc)),
            RESULT_TOO_SHORT);
}
// clang-format on

TEST(DateFields, KeepTheYearModeThatIsKnown) {
  EXPECT_EQ(dict_Y2kMode(1), 0);
  for (const int32_t mode : {3, -1, MOST, LEAST}) EXPECT_EQ(dict_Y2kMode(mode), RESULT_REFUSED) << mode;
  int32_t result = 0;
  FieldBuffer out;
  EXPECT_EQ(FldScanMonth(result, out, "12/05", "", "%m/%y", ""), SCAN_OK);
  EXPECT_EQ(result, 512);
  EXPECT_EQ(dict_Y2kMode(0), 0);
}

TEST(DateFields, TraceWhatTheyDo) {
  const UseLocale locale;
  const TraceCapture trace("F3");
  int32_t result = 0;
  FieldBuffer out;
  FldScanWeek(result, out, "31.12.99", "YMD", "%H", "");
  FmtDate(out, MakeTime(1999, 1, 2), 1, "%d");
  std::string lines;
  for (const std::string& line : trace.Lines()) {
    const size_t file = line.find("(): file dll/shared/");
    lines += file == std::string::npos ? line + "\n" : line.substr(0, file) + "()\n";
  }
  EXPECT_EQ(lines,
            "F3: FldScanWeek()\nF3: FmtCheckValid()\n"
            "F3: ScanDate()\nF2: ScanDate(fld=31.12.99, fmt=%H)\nF2:   invalid date/time\n"
            "F3: ScanDate()\nF2: ScanDate(fld=31.12.99, fmt=%W/%y)\nF3:   week(mon)=31\nF3:   tm_year=112\n"
            "F2:   could not completely parse input\n"
            "F3: ScanDate()\nF2: ScanDate(fld=31.12.99, fmt=%d.%m.%y)\nF3:   tm_mday=31\nF3:   tm_mon=11\n"
            "F3:   tm_year=99\nF3: flg=1, fvt=YMD\nF3: tm_year=99 tm_mon=11 tm_mday=31\n"
            "F3: FmtDate()\nF2: FmtDate(len=1, fmt=%d)\nF2:   OVERFLOW\n");
}

}  // namespace
}  // namespace vorlix
