#include "dll/shared/clilocal.h"

#include <gtest/gtest.h>

#include <string>

#include "dll/server/srvlocal.h"
#include "dll/shared/csdx.h"
#include "hostif/layout.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix {
namespace {

std::string Payload() {
  EXPECT_EQ(BuildLocale(), 0);
  return std::string(CSDX_Contents()->substr(10));
}

TEST(LocaleDescription, IsReadWholeOrNotAtAll) {
  const std::string whole = Payload();
  const auto with = [&whole](size_t at, const std::string& text) {
    return std::string(whole).replace(at, text.size(), text);
  };
  const struct {
    const char* what;
    std::string text;
    int32_t code;
    const char* trace;
  } rows[] = {
      {"whole", whole, 0, ""},
      {"more behind it", whole + "more", 0, ""},
      {"no table", "", 1, "buffer is corrupt [IS]"},
      {"a class that is no number", with(8, "00G0"), 1, "buffer is corrupt [IS]"},
      {"half a case table", whole.substr(0, 1500), 1, "buffer is corrupt [TOUPPER]"},
      {"a bad digit there", with(1024, "4-"), 1, "buffer is corrupt [TOUPPER]"},
      {"and there", with(1536, " 4"), 1, "buffer is corrupt [TOLOWER]"},
      {"no names", whole.substr(0, 2048), 1, "buffer is corrupt [LANGINFO]"},
      {"a length that is none", with(2048, "x~"), 1, "buffer is corrupt [LANGINFO]"},
      {"a negative length", with(2048, "-1~"), 1, "buffer is corrupt [LANGINFO]"},
      {"a length of 300 digits", whole.substr(0, 2048) + std::string(300, '9') + "~", 1,
       "buffer is corrupt [LANGINFO]"},
      {"one byte short", whole.substr(0, whole.size() - 1), 1, "buffer is corrupt [LANGINFO]"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_EQ(BuildLocale(), 0);
    const test::TraceCapture trace("D1");
    EXPECT_EQ(GetLocaleInfo(row.text.data(), row.text.size()), row.code);
    EXPECT_EQ(LocaleInForce().strings.weekdays[0], row.code == 0 ? "Sunday" : "");
    EXPECT_TRUE(LocaleInForce().Is('A', CLASS_UPPER)) << "the tables stay";
    if (row.code != 0) {
      EXPECT_EQ(trace.Lines().at(0), "D1: GetLocaleInfo() failed: " + std::string(row.trace));
    }
  }
  BuildLocale();
}

TEST(LocaleDescription, MissingMemoryIsReported) {
  const struct {
    int allocation;
    const char* trace;
  } rows[] = {{0, "D1: BuildLocale() failed: heap overflow"},
              {1, "D1: GetLocaleInfo() failed: heap overflow [LANGINFO]"}};
  for (const auto& row : rows) {
    const test::TraceCapture trace("D1");
    {
      const test::FailAllocation fail(row.allocation);
      EXPECT_EQ(BuildLocale(), RESULT_NO_MEMORY);
    }
    EXPECT_EQ(trace.Lines().at(0), row.trace);
    EXPECT_FALSE(CSDX_Contents().has_value());
    EXPECT_EQ(BuildLocale(), 0);
  }
}

TEST(LocaleCharacters, LongerStringsCountAsAbsent) {
  const struct {
    std::string text;
    char expected;
  } rows[] = {{",", ','},  {"", '?'},       {"\x7f", '?'}, {std::string(1, '\0'), '?'}, {"\xe2\x80\xaf", '?'},
              {"ab", '?'}, {"\xa0", '\xa0'}};
  for (const auto& row : rows) EXPECT_EQ(LocaleChar(row.text, '?'), row.expected) << row.text;
}

}  // namespace
}  // namespace vorlix
