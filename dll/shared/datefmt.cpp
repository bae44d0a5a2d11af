// Broken-down times from values, and the display of broken-down times.
#include "dll/shared/datefmt.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>

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
// All that writes does so at `at` and returns the end of what it wrote; or null, when that does not fit before `end` or
// is outside its range: the whole is an overflow then. What is rare stays out of line, which keeps the usual path
// short.

// Makes the leading blanks of a text that was written another character.
char* FillBlanks(char* at, char* end, char fill) {
  for (; at != end && *at == ' '; ++at) *at = fill;
  return end;
}

// Copies a text of SIZE to 2 * SIZE characters in two pieces, which may overlap.
template <size_t SIZE>
void CopyEnds(char* at, std::string_view text) {
  std::memcpy(at, text.data(), SIZE);
  std::memcpy(at + text.size() - SIZE, text.data() + text.size() - SIZE, SIZE);
}

// Names are short: copying them takes less time than calling the C library to do it.
[[gnu::noinline]] char* PutText(char* at, const char* end, std::string_view text, char blank) {
  const size_t size = text.size();
  if (size > static_cast<size_t>(end - at)) return nullptr;
  if (size >= 8 && size <= 16) {
    CopyEnds<8>(at, text);
  } else if (size >= 4 && size < 8) {
    CopyEnds<4>(at, text);
  } else {
    std::copy(text.begin(), text.end(), at);
  }
  return FillBlanks(at, at + size, blank);
}

template <size_t SIZE>
char* PutName(char* at, const char* end, const std::array<std::string_view, SIZE>& names, int index, char blank) {
  const bool known = index >= 0 && index < static_cast<int>(SIZE);
  return known ? PutText(at, end, names[static_cast<size_t>(index)], blank) : nullptr;
}

constexpr std::array<std::array<char, 2>, 100> PAIRS = [] {
  std::array<std::array<char, 2>, 100> pairs{};
  for (size_t i = 0; i < pairs.size(); ++i)
    pairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
  return pairs;
}();

// Two digits, looked up: that takes no division.
char* PutPair(char* at, unsigned number) { return std::copy(PAIRS[number].begin(), PAIRS[number].end(), at); }

// A number of one or two digits, with `blank` before one.
template <char BLANK>
char* PutNumber(char* at, const char* end, int64_t number, int lowest, int highest) {
  if (number < lowest || number > highest || end - at < 2) return nullptr;
  char* const number_end = PutPair(at, static_cast<unsigned>(number));
  if (BLANK != '0' && number < 10) *at = BLANK;
  return number_end;
}

// Any number, with `blank` up to so many digits.
[[gnu::noinline]] char* PutAnyNumber(char* at, const char* end, int64_t number, size_t digits, char blank) {
  std::array<char, 24> text;
  const char* const text_end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  const auto length = static_cast<size_t>(text_end - text.data());
  for (size_t i = length; i < digits && at != end; ++i) *at++ = blank;
  return PutText(at, end, {text.data(), length}, blank);
}

// As it is written in the format.
char* PutUnknown(char* at, const char* end, char letter) {
  const std::array<char, 2> text = {'%', letter};
  return PutText(at, end, {text.data(), letter == '%' ? 1U : 2U}, ' ');
}

char* PutYear(char* at, const char* end, int64_t year) {
  if (year < 1000 || year > 9999 || end - at < 4) return PutAnyNumber(at, end, year, 1, '0');
  return PutPair(PutPair(at, static_cast<unsigned>(year) / 100), static_cast<unsigned>(year) % 100);
}

// Writes a text cut to the precision of its directive, aligned in its width, then filled.
char* PutShaped(char* at, const char* end, std::string_view text, const DateDirective& directive) {
  const bool is_cut = directive.precision != DateDirective::NO_PRECISION;
  size_t blanks = std::min(text.find_first_not_of(' '), text.size());
  text.remove_prefix(blanks);
  if (directive.left || is_cut) blanks = 0;
  if (is_cut) text = text.substr(0, directive.precision);

  const size_t length = std::max<size_t>(blanks + text.size(), directive.width);
  if (length > static_cast<size_t>(end - at)) return nullptr;
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

  char* Write(char* at, const char* end, std::string_view fmt) {
    char* const text_end = Walk(at, end, fmt);
    if (text_end != nullptr || !week_wanted_) return text_end;
    return FindWeek(fmt) ? Walk(at, end, fmt) : nullptr;
  }

 private:
  char* Walk(char* at, const char* end, std::string_view fmt);
  bool FindWeek(std::string_view fmt);

  template <char BLANK>
  char* Directive(char* at, const char* end, char letter);
  [[gnu::noinline]] char* ShapedDirective(char* at, const char* end, const DateDirective& directive);
  [[gnu::noinline]] char* Format(char* at, const char* end, std::string_view fmt, char blank);

  template <char BLANK>
  char* Week(char* at, const char* end) {
    week_wanted_ = true;
    return PutNumber<BLANK>(at, end, week_, 1, 53);
  }

  std::string_view HalfOfDay() const { return tm_.tm_hour < 12 ? locale_.am : locale_.pm; }
  int64_t NextYear() { return FullYear(--years_to_week_year_ == 0 ? week_year_ : tm_.tm_year); }

  const std::tm& tm_;
  const int depth_;
  const LocaleStrings& locale_;
  // Which year belongs to the week can depend on all of the format: one that turns out to have a week is walked again.
  bool week_wanted_ = false;
  int week_ = 0;
  int week_year_ = 0;
  int64_t years_to_week_year_ = 0;  // year directives up to the one that shows the year of the week; none below 1
};

char* DateWriter::Walk(char* at, const char* end, std::string_view fmt) {
  DateFormatReader reader(fmt);
  while (at != nullptr && !reader.AtEnd()) {
    if (at == end) return nullptr;
    if (!reader.AtDirective()) {
      *at++ = reader.TakeChar();
    } else if (reader.AtBareDirective()) {
      at = Directive<'0'>(at, end, reader.TakeBareDirective());
    } else {
      at = ShapedDirective(at, end, reader.TakeDirective());
    }
  }
  return at;
}

// The year that stands next to the week is the year of the week: the first one behind %W if nothing but a year comes
// between, else the last one before it, unless directives follow both that year and the week.
bool DateWriter::FindWeek(std::string_view fmt) {
  int64_t years = 0;
  bool year_left_behind = false;
  DateFormatReader reader(fmt);
  for (char letter = '\0'; reader.NextLetter(letter);) {
    if (letter == 'W') {
      week_ = IsoWeek(tm_, week_year_);
      if (week_ == 0) return false;
    } else if (letter == 'y' || letter == 'Y') {
      ++years;
      year_left_behind = false;
      if (week_ != 0) break;
    } else if (week_ == 0) {
      year_left_behind = true;
    } else {
      if (year_left_behind) years = 0;
      break;
    }
  }
  years_to_week_year_ = years;
  return true;
}

char* DateWriter::ShapedDirective(char* at, const char* end, const DateDirective& directive) {
  if (!directive.IsKnown()) return PutText(at, end, directive.text, ' ');
  FieldBuffer raw;
  const auto room = directive.IsFormat() ? end - at : FIELD_MAX;
  const char* const raw_end = Directive<' '>(raw.Start(), raw.Start() + room, directive.letter);
  if (raw_end == nullptr) return nullptr;
  raw.Finish(raw_end);
  return PutShaped(at, end, raw.View(), directive);
}

char* DateWriter::Format(char* at, const char* end, std::string_view fmt, char blank) {
  if (depth_ == DEEPEST_FORMAT) return nullptr;
  char* const text_end = DateWriter(tm_, depth_ + 1).Write(at, end, fmt);
  return text_end != nullptr ? FillBlanks(at, text_end, blank) : nullptr;
}

template <char BLANK>
char* DateWriter::Directive(char* at, const char* end, char letter) {
  switch (letter) {
    case 'a': return PutName(at, end, locale_.short_weekdays, tm_.tm_wday, BLANK);
    case 'A': return PutName(at, end, locale_.weekdays, tm_.tm_wday, BLANK);
    case 'b': return PutName(at, end, locale_.short_months, tm_.tm_mon, BLANK);
    case 'B': return PutName(at, end, locale_.months, tm_.tm_mon, BLANK);
    case 'c': return Format(at, end, locale_.date_time_format, BLANK);
    case 'd': return PutNumber<BLANK>(at, end, tm_.tm_mday, 1, 31);
    case 'H': return PutNumber<BLANK>(at, end, tm_.tm_hour, 0, 23);
    case 'I': return IsHour(tm_.tm_hour) ? PutNumber<BLANK>(at, end, (tm_.tm_hour + 11) % 12 + 1, 1, 12) : nullptr;
    case 'j': return PutAnyNumber(at, end, int64_t{tm_.tm_yday} + 1, 3, BLANK);
    case 'm': return PutNumber<BLANK>(at, end, int64_t{tm_.tm_mon} + 1, 1, 12);
    case 'M': return PutNumber<BLANK>(at, end, tm_.tm_min, 0, 59);
    case 'p': return IsHour(tm_.tm_hour) ? PutText(at, end, HalfOfDay(), BLANK) : nullptr;
    case 'S': return PutNumber<BLANK>(at, end, tm_.tm_sec, 0, 59);
    case 'w': return PutAnyNumber(at, end, tm_.tm_wday, 1, BLANK);
    case 'W': return Week<BLANK>(at, end);
    case 'x': return Format(at, end, locale_.date_format, BLANK);
    case 'X': return Format(at, end, locale_.time_format, BLANK);
    case 'y': return PutNumber<BLANK>(at, end, std::abs(NextYear() - 1900) % 100, 0, 99);
    case 'Y': return PutYear(at, end, NextYear());
    default: return PutUnknown(at, end, letter);
  }
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
  const bool traced = DebugCheck(TRACE_FORMAT, 2);
  if (traced) {
    DebugEntry(TRACE_FORMAT);
    DebugPrint(TRACE_FORMAT, 2, "FmtDate(len=%d, fmt=%.*s)", len, static_cast<int>(fmt.size()), fmt.data());
  }
  char* const start = out.Start();
  const char* const end = DateWriter(tm).Write(start, start + std::clamp(len, 0, FIELD_MAX), fmt);
  if (end != nullptr) {
    out.Finish(end);
    if (traced) DebugPrint(TRACE_FORMAT, 2, "  output=[%s]", out.CStr());
  } else {
    ShowOverflow(out, len);
  }
  return end != nullptr;
}

}  // namespace vorlix
