#include "dll/shared/clilocal.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "dll/server/srvlocal.h"
#include "dll/shared/csdx.h"
#include "tests/support/callables.h"

namespace vorlix {
namespace {

// clang-format off
TEST(LocaleDescription, IsReadWholeOrNotAtAll) {
  ASSERT_EQ(BuildLocale(), 0);
  const std::string whole(CSDX_Contents()->substr(10));
  const auto with = [&whole](size_t at, const std::string& text) {
    return std::string(whole).replace(at, text.size(), text);
  };
  const struct { const char* what; std::string text; std::string corrupt; } rows[] = {
      {"whole", whole, ""},
      {"more behind it", whole + "more", ""},
      {"no table", "", "IS"},
      {"a class that is no number", with(8, "00G0"), "IS"},
      {"half a case table", whole.substr(0, 1500), "TOUPPER"},
      {"a bad digit there", with(1024, "4-"), "TOUPPER"},
      {"and there", with(1536, " 4"), "TOLOWER"},
      {"no names", whole.substr(0, 2048), "LANGINFO"},
      {"a length that is none", with(2048, "x~"), "LANGINFO"},
      {"a negative length", with(2048, "-1~"), "LANGINFO"},
      {"a length of 300 digits", whole.substr(0, 2048) + std::string(300, '9') + "~", "LANGINFO"},
      {"one byte short", whole.substr(0, whole.size() - 1), "LANGINFO"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    ASSERT_EQ(BuildLocale(), 0);
    const test::TraceCapture trace("D1");
    EXPECT_EQ(GetLocaleInfo(row.text.data(), row.text.size()), row.corrupt.empty() ? 0 : 1);
    EXPECT_EQ(LocaleInForce().strings.weekdays[0], row.corrupt.empty() ? "Sunday" : "");
    EXPECT_TRUE(LocaleInForce().Is('A', CLASS_UPPER)) << "the tables stay";
    const std::vector<std::string> refusal = {"D1: GetLocaleInfo() failed: buffer is corrupt [" + row.corrupt + "]"};
    EXPECT_EQ(trace.Lines(), row.corrupt.empty() ? std::vector<std::string>() : refusal);
  }
  BuildLocale();
}
// clang-format on

TEST(LocaleCharacters, LongerStringsCountAsAbsent) {
  const std::pair<std::string, char> rows[] = {
      {",", ','},  {"", '?'},       {"\x7f", '?'}, {std::string(1, '\0'), '?'}, {"\xe2\x80\xaf", '?'},
      {"ab", '?'}, {"\xa0", '\xa0'}};
  for (const auto& [text, expected] : rows) EXPECT_EQ(LocaleChar(text, '?'), expected) << text;
}

}  // namespace
}  // namespace vorlix
