// Dates, times of day, calendar weeks and months as fields show them and as users type them.
//
// A display format is text with "%" directives: a A b B c d H I j m M p S w W x X y Y, each with optional flags, width
// and precision ("%-d", "%05j", "%.3B"). Names, the formats behind %c, %x and %X, the overflow character and the
// default formats of fields are those of the locale in force at each call. A field stores a whole number:
//
//   GREG   a day number; 1 is 1 January 1972, and earlier days are 0 and below
//   YMD    year * 10000 + month * 100 + day
//   time   hundredths of an hour as scanned; whoever shows it passes seconds
//   week   year of the week * 100 + ISO week, or a YMD date that stands for its week
//   month  year * 100 + month
//
// A year below 1000 counts from 1900. The value 0 is no value and shows as an empty text. The year mode decides which
// scanned values carry the last two digits of the year only.
//
// Formatters put the text into `out` and return true; or, when it is longer than `len` or a directive has nothing to
// show (the day of a time), they fill `out` with `len` overflow characters and return false. Scanners return a scan
// code; on SCAN_OK `result` is the value and `out` the same in digits, else they are 0 and empty, but for
// SCAN_BAD_CHAR, where `out` is the refused character. Absent texts are passed as empty ones.
#pragma once

#include <cstdint>
#include <ctime>
#include <string_view>

#include "dll/base/locale.h"
#include "dll/field/fieldbuf.h"
#include "dll/field/scancode.h"

namespace vorlix {

// ---- Broken-down times (tm_year: see FullYear in calendar.h) --------------------------------------------------------

/// Sets year, month, day, weekday and day of the year from a day number.
void SetDate(std::tm& tm, int64_t day_number);

/// SetDate from a GREG (`is_day_number`) or a YMD value. False, and nothing changed, for 0.
bool FromValue(std::tm& tm, int32_t value, bool is_day_number);

/// The ISO week of the date, 1 to 53, and the year that the week belongs to, as tm_year has it; 0 when day or month are
/// outside their ranges.
int IsoWeek(const std::tm& tm, int& week_year);

/// Shows `tm` as `fmt` says. The text is not padded to `len`. The year directive next to a %W shows the year of the
/// week. Letters that mean nothing show as they are written.
bool FmtDate(FieldBuffer& out, const std::tm& tm, int32_t len, std::string_view fmt);

/// Reads `in` as `fmt` says: the numbers of its directives (d m y Y W H M S), in their order, with any white space and
/// punctuation of the process's character-type locale before each. A date without a year is one of 1900, one with a
/// week is its Monday. Returns SCAN_OK, SCAN_EMPTY, SCAN_BAD_DATE or SCAN_LEFT_OVER.
ScanCode ScanDate(std::tm& tm, std::string_view in, std::string_view fmt);

// ---- Fields ---------------------------------------------------------------------------------------------------------

/// How many digits of the year scanned values carry: by type (0: two for "YMD" dates, else four; at start), two in all
/// but GREG dates (1), four (2).
enum YearMode : int32_t { YEARS_BY_TYPE = 0, YEARS_SHORT = 1, YEARS_LONG = 2 };

/// False, and nothing changed, when `mode` is none of these.
bool SetYearMode(int32_t mode);

/// The format and length of a week field that has no format of its own: those of weeks when its value type is "KW",
/// those of short dates otherwise.
FieldFormat WeekFieldFormat(std::string_view vtyp);

bool FldFmtDate(FieldBuffer& out, int32_t value, bool is_greg, int32_t len, std::string_view fmt);
bool FldFmtTime(FieldBuffer& out, int32_t seconds, int32_t len, std::string_view fmt);
bool FldFmtMonth(FieldBuffer& out, int32_t value, int32_t len, std::string_view fmt);

/// An empty `fmt` stands for a default format, and a `len` of 0 for its length then.
bool FldFmtWeek(FieldBuffer& out, int32_t value, int32_t len, std::string_view vtyp, std::string_view fmt);

// Input that does not go with `fmt` is tried with the default formats of the field's kind. `valid` is the set of
// allowed characters (FmtCheckValid).

/// `fvt` "GREG" stores a day number, any other a YMD value.
ScanCode FldScanDate(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid);

/// `fvt` "HM60" reads hours and minutes, any other a decimal number of hours, whose scan codes are ScanNum's; both
/// store hundredths of an hour. A number of hours too large to be stored is SCAN_BELOW_MODE or SCAN_ABOVE_MODE.
ScanCode FldScanTime(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid);

/// Input that goes with a default format of dates only stores a YMD value, unless `fvt` is "KW"; all other stores a
/// week.
ScanCode FldScanWeek(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt, std::string_view fmt,
                     std::string_view valid);

ScanCode FldScanMonth(int32_t& result, FieldBuffer& out, std::string_view in, std::string_view fvt,
                      std::string_view fmt, std::string_view valid);

}  // namespace vorlix
