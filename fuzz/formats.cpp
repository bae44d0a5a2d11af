// A format, a typed text and a VALID set, a line each, and values, through all formatters and scanners. What is shown
// in full is read as the same value again.
#include <array>
#include <cmath>
#include <memory>

#include "dll/field/calendar.h"
#include "dll/server/functions.h"
#include "fuzz/input.h"

namespace vorlix::fuzz {
namespace {

// What comes back from calls; the text has memory of its own, to its last byte.
struct Results {
  explicit Results(int32_t room) : memory(new char[size_t(room)]), text{room, 0, memory.get()} {}

  // A copy of the text, as an argument.
  const char* Shown() { return (shown = text.View()).c_str(); }

  std::unique_ptr<char[]> memory;
  DllString text;
  std::string shown;
  double number = 0;
  int32_t read = 0;
  int32_t code = 0;
  IntByReference value{&read};
  IntByReference rc{&code};
};

void RunAll(const char* format, const char* typed, const char* valid, int32_t value, int32_t length, double number,
            int32_t decimals) {
  Results r(std::abs(length) % 300);
  fmt_Num(number, length, decimals, format, r.text);
  fmt_Text(typed, length, format, r.text);
  scan_Text(typed, length, format, valid, r.text, r.rc);
  fmt_Date(value, decimals % 2, length, format, r.text);
  fmt_Time(value, length, format, r.text);
  fmt_Month(value, length, format, r.text);
  for (const char* type : {"", "I", "S", "GREG", "HM60", "KW"}) {
    scan_Num(typed, type, decimals, -number, number, valid, r.number, r.text, r.rc);
    scan_Date(typed, type, format, valid, r.value, r.text, r.rc);
    scan_Time(typed, type, format, valid, r.value, r.text, r.rc);
    fmt_Week(value, length, type, format, r.text);
    scan_Week(typed, type, format, valid, r.value, r.text, r.rc);
    scan_Month(typed, type, format, valid, r.value, r.text, r.rc);
    static_cast<void>(DllStrFromC(typed, r.text));  // what does not fit leaves the text as it is
    chk_Num(type, r.text, r.number, r.rc);
  }
}

void CheckNumber(const char* format, int32_t length, double number, int32_t decimals) {
  if (!(std::abs(number) < 1e15) || decimals < 0 || decimals > 15) return;
  Results r(255);
  fmt_Num(number, length, decimals, format, r.text);
  if (r.text.View().empty() || r.text.View().front() == '?') return;
  std::array<char, 40> printed;
  std::snprintf(printed.data(), printed.size(), "%.*f", decimals, number);
  const double expected = std::strtod(printed.data(), nullptr);
  scan_Num(r.Shown(), "", decimals, 0, 0, "", r.number, r.text, r.rc);
  Require(r.code == 0 && std::abs(r.number) == std::abs(expected), "a number is read as it is shown");
  const bool without_sign = std::strchr(format, 'S') != nullptr;
  Require(without_sign ? r.number >= 0 : r.number == expected, "and so is its sign");
}

void CheckDay(int32_t day) {
  if (day == 0) return;
  const CalendarDate date = DateOfDay(day + GREG_ZERO);
  const CalendarWeek week = WeekOfDay(day + GREG_ZERO);
  const auto week_value = int32_t(week.year * 100 + week.week);
  const auto month_value = int32_t(date.year * 100 + date.month);
  Results r(20);
  fmt_Date(day, 1, 10, "%d.%m.%Y", r.text);
  scan_Date(r.Shown(), "GREG", "%d.%m.%Y", "", r.value, r.text, r.rc);
  Require(r.read == day, "a date is read as it is shown");
  fmt_Week(week_value, 7, "KW", "%W/%Y", r.text);
  scan_Week(r.Shown(), "KW", "%W/%Y", "", r.value, r.text, r.rc);
  Require(r.read == week_value, "a week is read as it is shown");
  fmt_Month(month_value, 7, "%m/%Y", r.text);
  scan_Month(r.Shown(), "", "%m/%Y", "", r.value, r.text, r.rc);
  Require(r.read == month_value, "a month is read as it is shown");
}

}  // namespace

void Run(Input input) {
  const std::string format = input.Until("\n");
  const std::string typed = input.Until("\n");
  const std::string valid = input.Until("\n");
  const auto value = input.Take<int32_t>();
  const auto length = input.Take<int16_t>();
  const auto decimals = input.Take<int8_t>();
  const auto number = input.Take<double>();
  RunAll(format.c_str(), typed.c_str(), valid.c_str(), value, length, number, decimals);
  CheckNumber(format.c_str(), length, number, decimals);
  CheckDay(int32_t(uint32_t(value) % 145000) - 99000);  // from 1700 to 2097
}

}  // namespace vorlix::fuzz
