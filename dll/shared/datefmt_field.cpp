// The values of date, time, week and month fields, shown and scanned.
#include <initializer_list>

#include "dll/base/debug.h"
#include "dll/base/text.h"
#include "dll/field/calendar.h"
#include "dll/shared/datefmt.h"
#include "dll/shared/fieldscan.h"
#include "dll/shared/numfmt.h"

namespace vorlix {
namespace {

constexpr int TIME_DECIMALS = 2;
constexpr double HUNDREDTHS_LIMIT = 2147483648.0;

// The largest value of a week field that is a week; those above are YMD dates.
constexpr int32_t LAST_SHORT_WEEK_VALUE = 99999;
constexpr int32_t LAST_WEEK_VALUE = 9999999;

YearMode year_mode = YEARS_BY_TYPE;

FieldFormat FormatOr(const FieldFormat& in_force, const FieldFormat& built_in) {
  return in_force.format.empty() ? built_in : in_force;
}
FieldFormat ShortDateFormat() { return FormatOr(LocaleInForce().strings.short_date, SHORT_DATE_FORMAT); }
FieldFormat LongDateFormat() { return FormatOr(LocaleInForce().strings.long_date, LONG_DATE_FORMAT); }
FieldFormat TimeFormat() { return FormatOr(LocaleInForce().strings.time, TIME_FORMAT); }
FieldFormat MonthFormat() { return FormatOr(LocaleInForce().strings.month, MONTH_FORMAT); }
FieldFormat WeekFormat() { return FormatOr(LocaleInForce().strings.week, WEEK_FORMAT); }

bool ShowNothing(FieldBuffer& out) {
  out.Clear();
  return true;
}

// Checks the characters of `in`, reads it with the field's own format and, while that fails, with the next one.
// `used` becomes the position of the format that did it.
ScanCode ScanByFormats(std::tm& tm, FieldBuffer& out, std::string_view in, std::string_view valid,
                       std::initializer_list<std::string_view> formats, size_t& used) {
  ScanCode code = CheckFieldChars(in, valid, out);
  if (code != SCAN_OK) return code;
  used = 0;
  for (const std::string_view format : formats) {
    code = ScanDate(tm, in, format);
    if (code == SCAN_OK || code == SCAN_EMPTY) break;
    ++used;
  }
  return code;
}

ScanCode Accept(int32_t& result, FieldBuffer& out, int64_t value) {
  result = static_cast<int32_t>(value);
  out.AssignNumber(result);
  return SCAN_OK;
}

// A year as values carry it, from a year as tm_year has it.
int64_t StoredYear(int year_field, bool is_short) {
  const int64_t year = FullYear(year_field);
  return is_short ? year % 100 : year;
}

int64_t YmdValue(const std::tm& tm, bool short_year) {
  return StoredYear(tm.tm_year, short_year) * 10000 + (tm.tm_mon + 1) * 100 + tm.tm_mday;
}

bool HasShortYear(std::string_view fvt) {
  return year_mode == YEARS_SHORT || (year_mode == YEARS_BY_TYPE && EqualNoCase(fvt, "YMD"));
}

ScanCode ScanHours(int32_t& result, FieldBuffer& out, std::string_view in) {
  double hours = 0;
  char badchar = '\0';
  const ScanCode code = ScanNum(hours, out, in, TIME_DECIMALS, 0, 0, FMCHK_NONE, badchar);
  out.Clear();
  if (code != SCAN_OK) return code;
  const double hundredths = (hours + 0.005) * 100;
  if (hundredths <= -HUNDREDTHS_LIMIT) return SCAN_BELOW_MODE;
  if (hundredths >= HUNDREDTHS_LIMIT) return SCAN_ABOVE_MODE;
  return Accept(result, out, static_cast<int64_t>(hundredths));
}

}  // namespace

bool SetYearMode(int32_t mode) {
  const bool known = mode == YEARS_BY_TYPE || mode == YEARS_SHORT || mode == YEARS_LONG;
  if (known) year_mode = static_cast<YearMode>(mode);
  return known;
}

FieldFormat WeekFieldFormat(std::string_view vtyp) {
  return EqualNoCase(vtyp, "KW") ? WeekFormat() : ShortDateFormat();
}

bool FldFmtDate(FieldBuffer& out, int32_t value, bool is_greg, int32_t len, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  std::tm tm{};
  if (!FromValue(tm, value, is_greg)) return ShowNothing(out);
  return FmtDate(out, tm, len, fmt);
}

// Minutes are rounded, and the hour goes with them: 59 and a half minutes show as 01:00. The seconds are those of the
// time as given. Times before midnight are outside the range of every directive.
bool FldFmtTime(FieldBuffer& out, int32_t seconds, int32_t len, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  if (seconds == 0) return ShowNothing(out);
  const int64_t minutes = (int64_t{seconds} + 30) / 60;
  std::tm tm{};
  tm.tm_sec = seconds < 0 ? -1 : seconds % 60;
  tm.tm_min = seconds < 0 ? -1 : static_cast<int>(minutes % 60);
  tm.tm_hour = seconds < 0 ? -1 : static_cast<int>(minutes / 60 % 24);
  tm.tm_yday = static_cast<int>(minutes / 60 / 24);
  return FmtDate(out, tm, len, fmt);
}

bool FldFmtWeek(FieldBuffer& out, int32_t value, int32_t len, std::string_view vtyp, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  if (value == 0) return ShowNothing(out);
  const bool is_date = value > (year_mode == YEARS_SHORT ? LAST_SHORT_WEEK_VALUE : LAST_WEEK_VALUE);
  std::tm tm{};
  if (is_date) {
    FromValue(tm, value, false);
  } else {
    SetDate(tm, MondayOfWeek(FullYear(value / 100), value % 100));
  }
  if (!fmt.empty()) return FmtDate(out, tm, len, fmt);
  const FieldFormat by_default = is_date ? WeekFieldFormat(vtyp) : WeekFormat();
  return FmtDate(out, tm, len == 0 ? by_default.length : len, by_default.format);
}

bool FldFmtMonth(FieldBuffer& out, int32_t value, int32_t len, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  if (value == 0) return ShowNothing(out);
  std::tm tm{};
  SetDate(tm, DayNumber(FullYear(value / 100), value % 100, 1));
  return FmtDate(out, tm, len, fmt);
}

ScanCode FldScanDate(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  result = 0;
  out.Clear();
  std::tm tm;
  size_t used = 0;
  const ScanCode code = ScanByFormats(
      tm, out, in, valid, {fmt, WeekFormat().format, ShortDateFormat().format, LongDateFormat().format}, used);
  if (code != SCAN_OK) return code;
  if (!EqualNoCase(fvt, "GREG")) return Accept(result, out, YmdValue(tm, HasShortYear(fvt)));
  return Accept(result, out, DayNumber(FullYear(tm.tm_year), tm.tm_mon + 1, tm.tm_mday) - GREG_ZERO);
}

ScanCode FldScanTime(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  result = 0;
  out.Clear();
  if (!EqualNoCase(fvt, "HM60")) {
    const ScanCode code = CheckFieldChars(in, valid, out);
    return code == SCAN_OK ? ScanHours(result, out, in) : code;
  }
  std::tm tm;
  size_t used = 0;
  const ScanCode code = ScanByFormats(tm, out, in, valid, {fmt, TimeFormat().format}, used);
  return code == SCAN_OK ? Accept(result, out, tm.tm_hour * 100 + (tm.tm_min * 100 + 30) / 60) : code;
}

ScanCode FldScanWeek(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  result = 0;
  out.Clear();
  std::tm tm;
  size_t used = 0;
  const ScanCode code = ScanByFormats(
      tm, out, in, valid, {fmt, WeekFormat().format, ShortDateFormat().format, LongDateFormat().format}, used);
  if (code != SCAN_OK) return code;
  const bool by_date_format = used >= 2;
  DebugPrint(TRACE_FORMAT, 3, "flg=%d, fvt=%.*s", by_date_format, static_cast<int>(fvt.size()), fvt.data());
  DebugPrint(TRACE_FORMAT, 3, "tm_year=%d tm_mon=%d tm_mday=%d", tm.tm_year, tm.tm_mon, tm.tm_mday);
  if (by_date_format && !EqualNoCase(fvt, "KW")) return Accept(result, out, YmdValue(tm, year_mode == YEARS_SHORT));
  int week_year = 0;
  const int week = IsoWeek(tm, week_year);
  return Accept(result, out, StoredYear(week_year, year_mode == YEARS_SHORT) * 100 + week);
}

ScanCode FldScanMonth(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view, std::string_view fmt,
                      std::string_view valid) {
  DebugEntry(TRACE_FORMAT);
  result = 0;
  out.Clear();
  std::tm tm;
  size_t used = 0;
  const ScanCode code = ScanByFormats(tm, out, in, valid, {fmt, MonthFormat().format}, used);
  if (code != SCAN_OK) return code;
  return Accept(result, out, StoredYear(tm.tm_year, year_mode == YEARS_SHORT) * 100 + tm.tm_mon + 1);
}

}  // namespace vorlix
