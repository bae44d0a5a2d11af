// Broken-down times from values, and the display of broken-down times.
#include "dll/shared/datefmt.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

#include "dll/base/debug.h"
#include "dll/field/calendar.h"
#include "dll/field/datedirective.h"
#include "dll/field/fmtflags.h"

namespace vorlix {
namespace {

// %c, %x and %X stand for formats of the locale, which may hold one another. A longer chain than one of each comes back
// to one that it is part of, and would never end.
constexpr int DEEPEST_FORMAT = 3;

// ---- Texts -----------------------------------------------------------------------------------------------------------
// Each of these writes at `at` and returns the end of what it wrote; or null, when that does not fit before `end` or is
// outside its range: the whole is an overflow then.

char* PutText(char* at, const char* end, std::string_view text) {
  if (std::cmp_greater(text.size(), end - at)) return nullptr;
  for (const char c : text) *at++ = c;
  return at;
}

// As it is written in the format; "%%" is one.
char* PutUnknown(char* at, const char* end, char letter) {
  const std::array<char, 2> text = {'%', letter};
  return PutText(at, end, {text.data(), letter == '%' ? size_t{1} : text.size()});
}

template <size_t SIZE>
char* PutName(char* at, const char* end, const std::array<std::string_view, SIZE>& names, int index) {
  const bool known = index >= 0 && index < static_cast<int>(SIZE);
  return known ? PutText(at, end, names[static_cast<size_t>(index)]) : nullptr;
}

// One or two digits, with a blank before one.
char* PutPair(char* at, const char* end, int64_t number, int lowest, int highest) {
  if (number < lowest || number > highest || end - at < 2) return nullptr;
  *at++ = number < 10 ? ' ' : static_cast<char>('0' + number / 10);
  *at++ = static_cast<char>('0' + number % 10);
  return at;
}

char* PutNumber(char* at, char* end, int64_t number) {
  const auto [number_end, error] = std::to_chars(at, end, number);
  return error == std::errc() ? number_end : nullptr;
}

// Any number, with blanks before fewer than three characters.
char* PutTriple(char* at, char* end, int64_t number) {
  char* const number_end = PutNumber(at, end, number);
  if (number_end == nullptr || number_end - at >= 3) return number_end;
  if (end - at < 3) return nullptr;
  std::fill(at, std::copy_backward(at, number_end, at + 3), ' ');
  return at + 3;
}

// A text cut to the precision of its directive, aligned in its width, then filled.
char* PutShaped(char* at, const char* end, std::string_view text, const DateDirective& directive) {
  const bool is_cut = directive.precision != DateDirective::NO_PRECISION;
  size_t blanks = std::min(text.find_first_not_of(' '), text.size());
  text.remove_prefix(blanks);
  if (directive.left || is_cut) blanks = 0;
  if (is_cut) text = text.substr(0, static_cast<size_t>(directive.precision));

  const size_t length = std::max(blanks + text.size(), static_cast<size_t>(directive.width));
  if (std::cmp_greater(length, end - at)) return nullptr;
  const size_t padding = length - blanks - text.size();
  if (!directive.left) blanks += padding;
  at = std::fill_n(at, blanks, directive.fill);
  at = std::copy(text.begin(), text.end(), at);
  return directive.left ? std::fill_n(at, padding, ' ') : at;
}

// ---- Formats ---------------------------------------------------------------------------------------------------------

bool IsHour(int hour) { return hour >= 0 && hour <= 23; }

// Writes one broken-down time by one format.
class DateWriter {
 public:
  explicit DateWriter(const std::tm& tm, int depth = 0) : tm_(tm), depth_(depth), locale_(LocaleInForce().strings) {}

  char* Write(char* at, char* end, std::string_view fmt);

 private:
  bool FindWeek(std::string_view fmt);
  char* PutBare(char* at, char* end, char letter);
  char* PutDetailed(char* at, char* end, const DateDirective& directive);
  char* PutPlain(char* at, char* end, char letter, bool& is_known);
  std::optional<std::string_view> FormatOf(char letter) const;
  char* PutFormat(char* at, char* end, std::string_view fmt);

  std::string_view HalfOfDay() const { return tm_.tm_hour < 12 ? locale_.am : locale_.pm; }
  int64_t NextYear() { return FullYear(--years_to_week_year_ == 0 ? week_year_ : tm_.tm_year); }

  const std::tm& tm_;
  const int depth_;
  const LocaleStrings& locale_;
  int week_ = 0;
  int week_year_ = 0;
  int64_t years_to_week_year_ = 0;  // year directives up to the one that shows the year of the week; none below 1
};

char* DateWriter::Write(char* at, char* end, std::string_view fmt) {
  if (fmt.find('W') != std::string_view::npos && !FindWeek(fmt)) return nullptr;
  DateFormatReader reader(fmt);
  while (at != nullptr && !reader.AtEnd()) {
    if (at == end) return nullptr;
    if (!reader.AtDirective())
      *at++ = reader.TakeChar();
    else if (reader.AtBareDirective())
      at = PutBare(at, end, reader.TakeBareDirective());
    else
      at = PutDetailed(at, end, reader.TakeDirective());
  }
  return at;
}

// Works out the week, and which year stands next to it and is the year of the week: the first one behind %W if nothing
// but a year comes between, else the last one before it, unless directives follow both that year and the week. False
// for a date that has no week.
bool DateWriter::FindWeek(std::string_view fmt) {
  bool year_left_behind = false;
  DateFormatReader reader(fmt);
  for (char letter = '\0'; reader.NextLetter(letter);) {
    if (letter == 'W') {
      week_ = IsoWeek(tm_, week_year_);
      if (week_ == 0) return false;
    } else if (letter == 'y' || letter == 'Y') {
      ++years_to_week_year_;
      year_left_behind = false;
      if (week_ != 0) break;
    } else if (week_ == 0) {
      year_left_behind = true;
    } else {
      if (year_left_behind) years_to_week_year_ = 0;
      break;
    }
  }
  return true;
}

char* DateWriter::PutBare(char* at, char* end, char letter) {
  bool is_known = true;
  char* const text_end = PutPlain(at, end, letter, is_known);
  if (!is_known) return PutUnknown(at, end, letter);
  for (; at != text_end && text_end != nullptr && *at == ' '; ++at) *at = '0';
  return text_end;
}

char* DateWriter::PutDetailed(char* at, char* end, const DateDirective& directive) {
  FieldBuffer plain;
  const auto room = FormatOf(directive.letter) ? end - at : FIELD_MAX;
  bool is_known = true;
  const char* const plain_end = PutPlain(plain.Start(), plain.Start() + room, directive.letter, is_known);
  if (!is_known) return PutText(at, end, directive.text);
  if (plain_end == nullptr) return nullptr;
  plain.Finish(plain_end);
  return PutShaped(at, end, plain.View(), directive);
}

char* DateWriter::PutFormat(char* at, char* end, std::string_view fmt) {
  return depth_ < DEEPEST_FORMAT ? DateWriter(tm_, depth_ + 1).Write(at, end, fmt) : nullptr;
}

// The format of the locale that the letter stands for; none for other letters.
std::optional<std::string_view> DateWriter::FormatOf(char letter) const {
  switch (letter) {
    case 'c': return locale_.date_time_format;
    case 'x': return locale_.date_format;
    case 'X': return locale_.time_format;
    default: return {};
  }
}

// What the letter stands for, aligned with blanks. A letter that means nothing is not known, and nothing is written: a
// mark beside the result, for an optional in its place makes a date take a third longer.
char* DateWriter::PutPlain(char* at, char* end, char letter, bool& is_known) {
  switch (letter) {
    case 'a': return PutName(at, end, locale_.short_weekdays, tm_.tm_wday);
    case 'A': return PutName(at, end, locale_.weekdays, tm_.tm_wday);
    case 'b': return PutName(at, end, locale_.short_months, tm_.tm_mon);
    case 'B': return PutName(at, end, locale_.months, tm_.tm_mon);
    case 'd': return PutPair(at, end, tm_.tm_mday, 1, 31);
    case 'H': return PutPair(at, end, tm_.tm_hour, 0, 23);
    case 'I': return IsHour(tm_.tm_hour) ? PutPair(at, end, (tm_.tm_hour + 11) % 12 + 1, 1, 12) : nullptr;
    case 'j': return PutTriple(at, end, int64_t{tm_.tm_yday} + 1);
    case 'm': return PutPair(at, end, int64_t{tm_.tm_mon} + 1, 1, 12);
    case 'M': return PutPair(at, end, tm_.tm_min, 0, 59);
    case 'p': return IsHour(tm_.tm_hour) ? PutText(at, end, HalfOfDay()) : nullptr;
    case 'S': return PutPair(at, end, tm_.tm_sec, 0, 59);
    case 'w': return PutNumber(at, end, tm_.tm_wday);
    case 'W': return PutPair(at, end, week_, 1, 53);
    case 'y': return PutPair(at, end, std::abs(NextYear() - 1900) % 100, 0, 99);
    case 'Y': return PutNumber(at, end, NextYear());
    default: break;
  }
  if (const auto fmt = FormatOf(letter)) return PutFormat(at, end, *fmt);
  is_known = false;
  return nullptr;
}

}  // namespace

void SetDate(std::tm& tm, int64_t day_number) {
  const CalendarDate date = DateOfDay(day_number);
  tm.tm_year = static_cast<int>(YearField(date.year));
  tm.tm_mon = date.month - 1;
  tm.tm_mday = date.day;
  tm.tm_wday = Weekday(day_number);
  tm.tm_yday = date.day_of_year;
}

bool FromValue(std::tm& tm, int32_t value, bool is_day_number) {
  DebugEntry(TRACE_FORMAT);
  if (value == 0) return false;
  SetDate(tm, is_day_number ? GREG_ZERO + value : DayNumber(FullYear(value / 10000), value / 100 % 100, value % 100));
  return true;
}

int IsoWeek(const std::tm& tm, int& week_year) {
  DebugEntry(TRACE_FORMAT);
  if (tm.tm_mon < 0 || tm.tm_mon > 11 || tm.tm_mday < 1 || tm.tm_mday > 31) return 0;
  const CalendarWeek week = WeekOfDay(DayNumber(FullYear(tm.tm_year), tm.tm_mon + 1, tm.tm_mday));
  week_year = static_cast<int>(YearField(week.year));
  return week.week;
}

bool FmtDate(FieldBuffer& out, const std::tm& tm, int32_t len, std::string_view fmt) {
  DebugEntry(TRACE_FORMAT);
  DebugPrint(TRACE_FORMAT, 2, "FmtDate(len=%d, fmt=%.*s)", len, static_cast<int>(fmt.size()), fmt.data());
  char* const start = out.Start();
  const char* const end = DateWriter(tm).Write(start, start + std::clamp(len, 0, FIELD_MAX), fmt);
  if (end == nullptr) {
    ShowOverflow(out, len);
    return false;
  }
  out.Finish(end);
  DebugPrint(TRACE_FORMAT, 2, "  output=[%s]", out.CStr());
  return true;
}

}  // namespace vorlix
