// Dates shown and read, beside the C library and {fmt}: nanoseconds for one date, over a calendar of different dates.
//
// All contenders of a row come to the same; that is checked beforehand.
#include <array>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "bench/measure.h"
#include "dll/field/calendar.h"
#include "dll/server/srvlocal.h"
#include "dll/shared/datefmt.h"

#ifdef HAVE_FMT
#include <fmt/chrono.h>
#endif

// The C library gets the formats that FmtDate gets.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {

using namespace vorlix;
using bench::Contender;
using bench::Expect;

constexpr int DATES = 64;   // a round works through all of them
constexpr int ROUNDS = 50;  // short enough that most runs are not interrupted
constexpr int RUNS = 301;
constexpr double FORMAT_GOAL = 1.0;
constexpr double SCAN_GOAL = 2.0;

volatile size_t kept;  // what is computed is used

std::vector<std::tm> MakeDates() {
  std::vector<std::tm> dates(DATES);
  for (int i = 0; i < DATES; ++i) {
    SetDate(dates[static_cast<size_t>(i)], DayNumber(1999, 1, 1 + 61 * i));
    dates[static_cast<size_t>(i)].tm_hour = i % 24;
    dates[static_cast<size_t>(i)].tm_min = i % 60;
  }
  return dates;
}

std::vector<std::string> Show(const std::vector<std::tm>& dates, std::string_view fmt) {
  std::vector<std::string> shown;
  for (const std::tm& tm : dates) {
    FieldBuffer out;
    FmtDate(out, tm, FIELD_MAX, fmt);
    shown.emplace_back(out.View());
  }
  return shown;
}

// The first contender is ours.
void PrintRows(const char* what, std::string_view fmt, const std::vector<Contender>& contenders) {
  bench::Compare(std::string(what) + " " + std::string(fmt), contenders, DATES, ROUNDS, RUNS);
}

void MeasureFormat(std::string_view fmt, const std::vector<std::tm>& dates) {
  const std::vector<std::string> shown = Show(dates, fmt);
  for (size_t i = 0; i < dates.size(); ++i) {
    std::array<char, 256> out;
    const size_t length = std::strftime(out.data(), out.size(), fmt.data(), &dates[i]);
    Expect(shown[i] == std::string_view(out.data(), length), "the contenders do not agree");
  }
  const auto ours = [&] {
    FieldBuffer out;
    for (const std::tm& tm : dates) {
      FmtDate(out, tm, 40, fmt);
      kept = out.Length();
    }
  };
  const auto c_library = [&] {
    std::array<char, 256> out;
    for (const std::tm& tm : dates) kept = std::strftime(out.data(), out.size(), fmt.data(), &tm);
  };
  std::vector<Contender> contenders = {{"FmtDate", ours}, {"strftime", c_library, FORMAT_GOAL}};
#ifdef HAVE_FMT
  const std::string pattern = "{:" + std::string(fmt) + "}";
  for (size_t i = 0; i < dates.size(); ++i)
    Expect(fmt::format(fmt::runtime(pattern), dates[i]) == shown[i], "the contenders do not agree");
  const auto fmt_library = [&] {
    std::array<char, 256> out;
    for (const std::tm& tm : dates) kept = fmt::format_to_n(out.data(), out.size(), fmt::runtime(pattern), tm).size;
  };
  contenders.push_back({"{fmt}", fmt_library});
#endif
  PrintRows("FmtDate", fmt, contenders);
}

void MeasureScan(std::string_view fmt, const std::vector<std::string>& texts) {
  for (const std::string& text : texts) {
    std::tm ours{};
    std::tm theirs{};
    const bool read = ScanDate(ours, text, fmt) == SCAN_OK && strptime(text.c_str(), fmt.data(), &theirs) != nullptr;
    Expect(read && Show({ours, theirs}, fmt) == std::vector{text, text}, "the contenders do not agree");
  }
  const auto ours = [&] {
    std::tm tm{};
    for (const std::string& text : texts) kept = static_cast<size_t>(ScanDate(tm, text, fmt));
  };
  const auto c_library = [&] {
    std::tm tm{};
    for (const std::string& text : texts) kept = strptime(text.c_str(), fmt.data(), &tm) != nullptr ? 1 : 0;
  };
  PrintRows("ScanDate", fmt, {{"ScanDate", ours}, {"strptime", c_library, SCAN_GOAL}});
}

}  // namespace

int main() {
  bench::PinToOneCore();
  if (BuildLocale() != RESULT_OK) return 1;
  const std::vector<std::tm> dates = MakeDates();
  for (const std::string_view fmt : {"%d.%m.%Y", "%d.%m.%y", "%H:%M", "%d.%m.%y %H:%M:%S", "%A, %d. %B %Y"})
    MeasureFormat(fmt, dates);
  for (const std::string_view fmt : {"%d.%m.%Y", "%d.%m.%y", "%H:%M"}) MeasureScan(fmt, Show(dates, fmt));
#ifndef HAVE_FMT
  std::puts("{fmt} is not there: its rows are left out");
#endif
}
