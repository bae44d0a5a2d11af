#include "tests/support/callables.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <fstream>

#include "dll/shared/clilocal.h"
#include "dll/shared/debug.h"

namespace vorlix::test {
namespace {

constexpr size_t GUARD = 16;
constexpr char GUARD_BYTE = '\x5a';

std::string Hex(unsigned value, int digits) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%0*X", digits, value);
  return text.data();
}

std::string Counted(std::string_view text) { return std::to_string(text.size()) + "~" + std::string(text); }

unsigned ClassBits(int c, bool national_upper, bool national_lower) {
  unsigned bits = c < 128 ? unsigned{CLASS_ASCII} : 0U;
  if (national_upper || national_lower)
    return bits | CLASS_ALNUM | CLASS_ALPHA | CLASS_GRAPH | CLASS_PRINT | (national_upper ? CLASS_UPPER : CLASS_LOWER);
  const auto add = [&bits](int is, unsigned bit) { bits |= is != 0 ? bit : 0U; };
  add(std::isalnum(c), CLASS_ALNUM);
  add(std::isalpha(c), CLASS_ALPHA);
  add(std::iscntrl(c), CLASS_CNTRL);
  add(std::isdigit(c), CLASS_DIGIT);
  add(std::isgraph(c), CLASS_GRAPH);
  add(std::islower(c), CLASS_LOWER);
  add(std::isprint(c), CLASS_PRINT);
  add(std::ispunct(c), CLASS_PUNCT);
  add(std::isspace(c), CLASS_SPACE);
  add(std::isupper(c), CLASS_UPPER);
  add(std::isxdigit(c), CLASS_XDIGIT);
  return bits;
}

std::string Tables(const std::string& upper_letters) {
  std::string classes, upper, lower;
  for (int c = 0; c < 256; ++c) {
    const bool is_upper = upper_letters.find(static_cast<char>(c)) != std::string::npos && c >= 128;
    const bool is_lower = c >= 160 && upper_letters.find(static_cast<char>(c - 32)) != std::string::npos;
    classes += Hex(ClassBits(c, is_upper, is_lower), 4);
    upper += Hex(static_cast<unsigned>(is_lower ? c - 32 : std::toupper(c)), 2);
    lower += Hex(static_cast<unsigned>(is_upper ? c + 32 : std::tolower(c)), 2);
  }
  return classes + upper + lower;
}

std::string Names() {
  std::string names;
  for (const char* name : {"Sun",    "Mon",     "Tue",       "Wed",      "Thu",      "Fri",      "Sat", "Sunday",
                           "Monday", "Tuesday", "Wednesday", "Thursday", "Friday",   "Saturday", "Jan", "Feb",
                           "Mar",    "Apr",     "May",       "Jun",      "Jul",      "Aug",      "Sep", "Oct",
                           "Nov",    "Dec",     "January",   "February", "March",    "April",    "May", "June",
                           "July",   "August",  "September", "October",  "November", "December"})
    names += Counted(name);
  return names;
}

void Apply(const TestLocale& locale) {
  std::string text = Tables(locale.upper_letters) + Names() + Counted(locale.date_time_format) +
                     Counted(locale.date_format) + Counted(locale.time_format) + Counted(locale.am) +
                     Counted(locale.pm) + Counted("%I:%M:%S %p") + Counted(locale.decimal_point) +
                     Counted(locale.thousands_separator);
  text += std::to_string(2 * locale.grouping.size()) + "~";
  for (const char size : locale.grouping) text += Hex(static_cast<unsigned char>(size), 2);
  text += Counted(locale.overflow) + Counted(locale.negative_sign);
  text += Counted("%d.%m.%y") + "8~" + Counted("%d.%m.%y") + "10~" + Counted("%H:%M") + "5~2~" + Counted("%m/%y") +
          "5~" + Counted("%W/%y") + "5~";
  if (GetLocaleInfo(text.data(), text.size()) != 0) std::abort();
}

// Every test begins under the "C" locale, as a server without a language does.
class PlainLocale : public testing::Environment {
  void SetUp() override { Apply(TestLocale()); }
};
[[maybe_unused]] const auto* const plain_locale = testing::AddGlobalTestEnvironment(new PlainLocale);

}  // namespace

TestString::TestString(int32_t max, std::string_view text) {
  const auto room = static_cast<size_t>(std::max(max, 0));
  memory_.assign(room + 2 * GUARD, GUARD_BYTE);
  std::copy(text.begin(), text.end(), memory_.begin() + GUARD);
  string_ = {max, static_cast<int32_t>(text.size()), memory_.data() + GUARD};
}

bool TestString::GuardsIntact() const {
  const auto is_guard = [](char c) { return c == GUARD_BYTE; };
  return std::all_of(memory_.begin(), memory_.begin() + GUARD, is_guard) &&
         std::all_of(memory_.end() - GUARD, memory_.end(), is_guard);
}

UseLocale::UseLocale(const TestLocale& locale) { Apply(locale); }
UseLocale::~UseLocale() { Apply(TestLocale()); }

TraceCapture::TraceCapture(const char* flags) : path_("/tmp/vorlix_trace_XXXXXX") {
  close(mkstemp(path_.data()));
  SetDebugFlags(flags, path_.c_str());
}

TraceCapture::~TraceCapture() {
  SetDebugFlags("", "");
  std::remove(path_.c_str());
}

std::vector<std::string> TraceCapture::Lines() const {
  std::ifstream file(path_);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  const size_t header = std::min<size_t>(lines.size(), 4);
  lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(header));
  return lines;
}

}  // namespace vorlix::test
