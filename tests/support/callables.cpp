#include "tests/support/callables.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "dll/base/debug.h"
#include "dll/server/srvlocal.h"
#include "dll/shared/clilocal.h"
#include "dll/shared/csdx.h"

namespace vorlix::test {
namespace {

constexpr size_t GUARD = 16;
constexpr char GUARD_BYTE = '\x5a';

std::string Counted(std::string_view text) { return std::to_string(text.size()) + "~" + std::string(text); }

// The description of "C" as the server makes it, without the buffer's header.
const std::string& PlainDescription() {
  static const std::string text = [] {
    if (BuildLocale() != RESULT_OK) std::abort();
    std::string payload(CSDX_Contents()->substr(10));
    CSDX_Reset();
    return payload;
  }();
  return text;
}

void Apply(const TestLocale& locale) {
  const std::string& plain = PlainDescription();
  std::string text = plain.substr(0, plain.find(Counted(TestLocale().date_time_format)));  // tables and names
  for (const std::string& piece :
       {locale.date_time_format, locale.date_format, locale.time_format, std::string("AM"), std::string("PM"),
        std::string("%I:%M:%S %p"), locale.decimal_point, locale.thousands_separator})
    text += Counted(piece);
  text += std::to_string(2 * locale.grouping.size()) + "~";
  constexpr char DIGITS[] = "0123456789ABCDEF";
  for (const char size : locale.grouping) text.append({DIGITS[size >> 4 & 15], DIGITS[size & 15]});
  text += Counted(locale.overflow) + Counted(locale.negative_sign) + plain.substr(plain.find(Counted("%d.%m.%y")));
  if (GetLocaleInfo(text.data(), text.size()) != LocaleInfo::Ok) std::abort();
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
  constexpr int HEADER_LINES = 4;
  std::ifstream file(path_);
  std::vector<std::string> lines;
  int number = 0;
  for (std::string line; std::getline(file, line);)
    if (++number > HEADER_LINES) lines.push_back(line);
  return lines;
}

}  // namespace vorlix::test
