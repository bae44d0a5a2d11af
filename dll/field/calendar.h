// The calendar of date fields: the Gregorian one, carried on without end in both directions, with ISO 8601 weeks.
//
// Everything is counted in day numbers: day 1 is 1 March 1700, a Monday. Years are full years (1999, not 99)
// unless said otherwise.
#pragma once

#include <cstdint>

namespace vorlix {

/// `number` divided by a positive `by`, rounded down, and what remains, which is never negative.
constexpr int64_t FloorDiv(int64_t number, int64_t by) { return number / by - (number % by < 0 ? 1 : 0); }
constexpr int64_t FloorMod(int64_t number, int64_t by) { return number - FloorDiv(number, by) * by; }

/// Values and broken-down times write a full year, or, up to 999, the years since 1900.
constexpr int64_t FullYear(int64_t written) { return written <= 999 ? written + 1900 : written; }
/// The full year as years since 1900 where these can be told from a full year, else itself: what tm_year takes.
constexpr int64_t YearField(int64_t full_year) { return full_year - 1900 <= 999 ? full_year - 1900 : full_year; }

constexpr bool IsLeapYear(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }
/// Months are 1 to 12, days of the year count from 0.
int DaysOfMonth(int64_t year, int month);
int DayOfYear(int64_t year, int month, int day);

/// The day number of a date. A day that its month does not have counts on into the months around it: 31 February 1999
/// is 3 March. A month outside 1 to 12 still gives some day, the same one each time.
constexpr int64_t DayNumber(int64_t year, int64_t month, int64_t day) {
  // Years begin with March here, so that the leap day is their last. The months from March to January are 30.6 days
  // long on average; the multiples of that, rounded down, grow by the length of each.
  const bool in_last_year = month == 1 || month == 2;
  const int64_t y = in_last_year ? year - 1 : year;
  const int64_t m = in_last_year ? month + 13 : month + 1;
  const int64_t century = FloorDiv(y, 100);
  return 365 * y + (y >> 2) - century + (century >> 2) + 306 * m / 10 + day - 621034;
}

/// GREG values count from 31 December 1971, which is 0.
inline constexpr int64_t GREG_ZERO = DayNumber(1971, 12, 31);

/// 0 is Sunday, 6 Saturday.
constexpr int Weekday(int64_t day_number) { return static_cast<int>(FloorMod(day_number, 7)); }

struct CalendarDate {
  int64_t year;
  int month;        // 1 to 12
  int day;          // 1 to 31
  int day_of_year;  // 0 to 365
};
CalendarDate DateOfDay(int64_t day_number);

/// Weeks run from Monday to Sunday and belong to the year of their Thursday.
struct CalendarWeek {
  int64_t year;
  int week;  // 1 to 53
};
CalendarWeek WeekOfDay(int64_t day_number);

/// The Monday of a week. Weeks that the year does not have count on into the years around it: week 0 is the one before
/// week 1.
int64_t MondayOfWeek(int64_t year, int64_t week);

}  // namespace vorlix
