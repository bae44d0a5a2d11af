#include "dll/field/calendar.h"

#include <array>
#include <cstddef>

namespace vorlix {
namespace {

// The days of a year before each of its months, and before the next year.
constexpr std::array<std::array<int, 13>, 2> MONTH_STARTS = {{
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},  // leap years
}};

constexpr const std::array<int, 13>& MonthStarts(int64_t year) { return MONTH_STARTS[IsLeapYear(year) ? 1 : 0]; }

// The calendar repeats itself after 400 years; the one from 2000 on is looked at, and begins with a leap year.
constexpr int YEARS_IN_CYCLE = 400;
constexpr int DAYS_IN_CYCLE = 146097;
constexpr int64_t CYCLE_START = DayNumber(2000, 1, 1);

constexpr int THURSDAY = 4;

// The days of a cycle before its year `year`.
constexpr int DaysBefore(int year) { return 365 * year + (year + 3) / 4 - (year + 99) / 100 + (year + 399) / 400; }
static_assert(DaysBefore(YEARS_IN_CYCLE) == DAYS_IN_CYCLE);

// The mean year finds it but for the days around New Year, where it may be one year off.
constexpr int YearOfCycle(int day) {
  const int year = static_cast<int>(int64_t{day} * YEARS_IN_CYCLE / DAYS_IN_CYCLE);
  if (day < DaysBefore(year)) return year - 1;
  return day < DaysBefore(year + 1) ? year : year + 1;
}

// The Monday of the week that holds the day.
constexpr int64_t MondayBefore(int64_t day_number) { return day_number - FloorMod(day_number - 1, 7); }
static_assert(Weekday(1) == 1 && MondayBefore(1) == 1 && MondayBefore(0) == -6);

}  // namespace

int DaysOfMonth(int64_t year, int month) {
  const auto& starts = MonthStarts(year);
  const auto index = static_cast<std::size_t>(month) - 1;
  return starts[index + 1] - starts[index];
}

int DayOfYear(int64_t year, int month, int day) {
  return MonthStarts(year)[static_cast<std::size_t>(month) - 1] + day - 1;
}

CalendarDate DateOfDay(int64_t day_number) {
  const int64_t cycle = FloorDiv(day_number - CYCLE_START, DAYS_IN_CYCLE);
  const int day = static_cast<int>(day_number - CYCLE_START - cycle * DAYS_IN_CYCLE);
  const int year = YearOfCycle(day);
  const int day_of_year = day - DaysBefore(year);

  const auto& starts = MonthStarts(year);
  auto month = static_cast<std::size_t>(day_of_year / 32);  // from 0; at most one too low, as no month has more days
  if (starts[month + 1] <= day_of_year) ++month;
  return {2000 + cycle * YEARS_IN_CYCLE + year, static_cast<int>(month) + 1, day_of_year - starts[month] + 1,
          day_of_year};
}

CalendarWeek WeekOfDay(int64_t day_number) {
  const CalendarDate thursday = DateOfDay(MondayBefore(day_number) + THURSDAY - 1);
  return {thursday.year, thursday.day_of_year / 7 + 1};
}

int64_t MondayOfWeek(int64_t year, int64_t week) {
  // 4 January lies in week 1 of every year.
  return MondayBefore(DayNumber(year, 1, 4)) + 7 * (week - 1);
}

}  // namespace vorlix
