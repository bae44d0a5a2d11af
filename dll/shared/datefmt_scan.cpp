// Reads dates and times as users type them.
//
// The format says which numbers come in which order; what stands between its directives is not compared with the input,
// and any white space and punctuation may stand before each number.
#include <array>
#include <cctype>
#include <cstddef>

#include "dll/base/debug.h"
#include "dll/base/text.h"
#include "dll/field/calendar.h"
#include "dll/field/datedirective.h"
#include "dll/shared/datefmt.h"

namespace vorlix {
namespace {

struct Directive {
  char letter;
  int std::tm::*field;  // null for the week
  bool is_date;         // a part of a date, not of a time of day
  int most_digits;
  int lowest, highest;
  int first;  // the number that is stored as 0
  const char* name;
};

constexpr std::array<Directive, 8> DIRECTIVES = {{
    {'d', &std::tm::tm_mday, true, 2, 1, 31, 0, "tm_mday"},
    {'m', &std::tm::tm_mon, true, 2, 1, 12, 1, "tm_mon"},
    {'y', &std::tm::tm_year, true, 2, 0, 99, 0, "tm_year"},
    {'Y', &std::tm::tm_year, true, 4, 0, 9999, 0, "tm_year"},
    {'H', &std::tm::tm_hour, false, 2, 0, 23, 0, "tm_hour"},
    {'M', &std::tm::tm_min, false, 2, 0, 59, 0, "tm_min"},
    {'S', &std::tm::tm_sec, false, 2, 0, 59, 0, "tm_sec"},
    {'W', nullptr, true, 2, 0, 53, 0, "week(mon)"},
}};

const Directive* FindDirective(char letter) {
  for (const Directive& directive : DIRECTIVES)
    if (directive.letter == letter) return &directive;
  return nullptr;
}

constexpr int NO_WEEK = -1;

// Years of two digits from here on are of the 20th century, those below of the 21st.
constexpr int PIVOT_YEAR = 60;

bool IsSkipped(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return std::ispunct(byte) != 0 || std::isspace(byte) != 0;
}

ScanCode Invalid() {
  DebugPrint(TRACE_FORMAT, 2, "  invalid date/time");
  return SCAN_BAD_DATE;
}

class DateScanner {
 public:
  // What is not read is of midnight, 1 January 1900, a Monday.
  DateScanner(std::tm& tm, std::string_view in) : tm_(tm), at_(in.data()), end_(at_ + in.size()) {
    tm_ = {};
    tm_.tm_mday = 1;
    tm_.tm_wday = 1;
  }

  ScanCode Scan(std::string_view fmt) {
    DateFormatReader reader(fmt);
    for (char letter = '\0'; reader.NextLetter(letter);) {
      const Directive* const directive = FindDirective(letter);
      if (directive == nullptr) return SCAN_BAD_DATE;
      if (!ReadNumber(*directive)) return Invalid();
    }
    if (at_ == end_) return has_date_ ? Complete() : SCAN_OK;
    DebugPrint(TRACE_FORMAT, 2, "  could not completely parse input");
    return SCAN_LEFT_OVER;
  }

 private:
  bool ReadNumber(const Directive& directive);
  ScanCode Complete();

  std::tm& tm_;
  const char* at_;
  const char* const end_;
  int week_ = NO_WEEK;
  bool has_date_ = false;
};

// The year as tm_year has it, from two digits or four; false for other counts.
bool ToYearField(int& number, std::ptrdiff_t digits) {
  if (digits == 2 && number < PIVOT_YEAR) number += 100;
  number = static_cast<int>(YearField(FullYear(number)));
  return digits == 2 || digits == 4;
}

bool DateScanner::ReadNumber(const Directive& directive) {
  const char* at = at_;
  while (at != end_ && IsSkipped(*at)) ++at;
  const char* const start = at;
  int number = 0;
  while (at != end_ && IsDigit(*at) && at - start < directive.most_digits) number = number * 10 + (*at++ - '0');
  if (at == start || number < directive.lowest || number > directive.highest) return false;
  at_ = at;

  number -= directive.first;
  if (directive.field == &std::tm::tm_year && !ToYearField(number, at - start)) return false;
  (directive.field != nullptr ? tm_.*directive.field : week_) = number;
  has_date_ |= directive.is_date;
  DebugPrint(TRACE_FORMAT, 3, "  %s=%d", directive.name, number);
  return true;
}

// Checks the day against its month and works out the fields that are not read.
ScanCode DateScanner::Complete() {
  const int64_t year = FullYear(tm_.tm_year);
  if (week_ != NO_WEEK) {
    SetDate(tm_, MondayOfWeek(year, week_));
    return SCAN_OK;
  }
  const int month = tm_.tm_mon + 1;
  if (tm_.tm_mday > DaysOfMonth(year, month)) return Invalid();
  tm_.tm_yday = DayOfYear(year, month, tm_.tm_mday);
  tm_.tm_wday = Weekday(DayNumber(year, 1, 1) + tm_.tm_yday);
  return SCAN_OK;
}

}  // namespace

ScanCode ScanDate(std::tm& tm, std::string_view in, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  DebugPrint(TRACE_FORMAT, 2, "ScanDate(fld=%.*s, fmt=%.*s)", static_cast<int>(in.size()), in.data(),
             static_cast<int>(fmt.size()), fmt.data());
  if (!in.empty()) return DateScanner(tm, in).Scan(fmt);
  DebugPrint(TRACE_FORMAT, 2, "  fld is empty");
  return SCAN_EMPTY;
}

}  // namespace vorlix
