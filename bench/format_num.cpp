// Numbers shown and read, beside the C library and {fmt}: nanoseconds for one number, over numbers of all sizes.
//
// All contenders of a row write the same texts under the same locale, or read the same; that is checked beforehand.
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "bench/measure.h"
#include "dll/server/srvlocal.h"
#include "dll/shared/numfmt.h"

#ifdef HAVE_FMT
#include <fmt/format.h>
#endif
#ifndef BENCH_LOCALES
#define BENCH_LOCALES "/none"
#endif

namespace {

using namespace vorlix;
using bench::Contender;

constexpr int NUMBERS = 64;  // a round works through all of them

// Short turns, many of them: a disturbance falls on one turn and not on a median.
constexpr int ROUNDS = 30;
constexpr int RUNS = 301;

constexpr double GROUPED_GOAL = 0.25;
constexpr double SCAN_GOAL = 3.0;

volatile double kept;  // what is computed is used

// Numbers of both signs from `smallest` to some ten millions.
std::vector<double> MakeNumbers(double smallest) {
  std::vector<double> numbers;
  double magnitude = smallest;
  for (int i = 0; i < NUMBERS; ++i, magnitude = magnitude < 1e7 ? magnitude * 3.7 : smallest * i)
    numbers.push_back(i % 3 == 0 ? -magnitude : magnitude);
  return numbers;
}

void PrintRows(const char* what, const std::vector<Contender>& contenders) {
  bench::Compare(what, contenders, NUMBERS, ROUNDS, RUNS);
}

// Ends the program when two contenders do not come to the same.
template <class Input, class Ours, class Theirs>
void ExpectSame(const std::vector<Input>& inputs, Ours ours, Theirs theirs) {
  for (const Input& input : inputs) bench::Expect(ours(input) == theirs(input), "the contenders do not agree");
}

template <class Input, class Handle>
Contender Over(const char* name, const std::vector<Input>& inputs, Handle handle, double goal = 0) {
  return {name,
          [&inputs, handle] {
            for (const Input& input : inputs) {
              if constexpr (std::is_arithmetic_v<decltype(handle(input))>)
                kept = handle(input);
              else
                kept = handle(input).back();
            }
          },
          goal};
}

template <uint32_t FLAGS>
std::string_view ShowNum(double value) {
  static FieldBuffer out;
  FmtNum(out, value, 16, 2, FMT_RIGHT | FMT_TZERO | FMT_PZERO | FLAGS);
  return out.View();
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"  // the flag that groups is not in ISO C++, but in every POSIX library
template <bool GROUPED>
std::string_view PrintNum(double value) {
  static std::array<char, 512> text;
  const int length = GROUPED ? std::snprintf(text.data(), text.size(), "%'16.2f", value)
                             : std::snprintf(text.data(), text.size(), "%16.2f", value);
  return {text.data(), static_cast<size_t>(length)};
}
#pragma GCC diagnostic pop

double ReadNum(const std::string& text) {
  static FieldBuffer out;
  double value = 0;
  char badchar = 0;
  bench::Expect(ScanNum(value, out, text, 2, 0, 0, FMCHK_NONE, badchar) == SCAN_OK, "a number is refused");
  return value;
}

void MeasurePlain(const std::vector<double>& numbers) {
  ExpectSame(numbers, ShowNum<0>, PrintNum<false>);
  std::vector<Contender> contenders = {Over("FmtNum", numbers, ShowNum<0>), Over("snprintf", numbers, PrintNum<false>)};
#ifdef HAVE_FMT
  const auto print = [](double value) {
    static std::array<char, 512> text;
    const auto end = fmt::format_to(text.data(), "{:16.2f}", value);
    return std::string_view(text.data(), static_cast<size_t>(end - text.data()));
  };
  ExpectSame(numbers, ShowNum<0>, print);
  contenders.push_back(Over("fmt", numbers, print));
#endif
  PrintRows("FmtNum", contenders);
}

// True when the process's numbers and ours are grouped from now on.
bool UseGroupingLocale() {
  setenv("LOCPATH", BENCH_LOCALES, 1);
  return std::setlocale(LC_NUMERIC, "en_US") != nullptr && BuildLocale() == 0;
}

void MeasureGrouped(const std::vector<double>& numbers) {
  ExpectSame(numbers, ShowNum<FMT_GROUP>, PrintNum<true>);
  PrintRows("FmtNum, grouped", {Over("FmtNum", numbers, ShowNum<FMT_GROUP>),
                                Over("snprintf with '", numbers, PrintNum<true>, GROUPED_GOAL)});
}

void MeasureScan(const std::vector<double>& numbers) {
  std::vector<std::string> texts;
  for (const double value : numbers) texts.emplace_back(ShowNum<0>(value));
  const auto read = [](const std::string& text) { return std::strtod(text.c_str(), nullptr); };
  ExpectSame(texts, ReadNum, read);
  PrintRows("ScanNum", {Over("ScanNum", texts, ReadNum), Over("strtod", texts, read, SCAN_GOAL)});
}

}  // namespace

int main() {
  bench::PinToOneCore();
  if (BuildLocale() != RESULT_OK) return 1;
  const std::vector<double> numbers = MakeNumbers(0.07);
  MeasurePlain(numbers);
  MeasureScan(numbers);
  if (UseGroupingLocale())
    MeasureGrouped(MakeNumbers(1234.07));
  else
    std::puts("a locale that groups is not there: its row is left out");
#ifndef HAVE_FMT
  std::puts("{fmt} is not there: its rows are left out");
#endif
}
