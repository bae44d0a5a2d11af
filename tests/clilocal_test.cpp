#include "dll/shared/clilocal.h"
#include "dll/base/locale.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <string>
#include <utility>

#include "dll/server/srvlocal.h"
#include "dll/shared/csdx.h"
#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

// clang-format off
TEST(LocaleDescription, IsReadWholeOrNotAtAll) {
  ASSERT_EQ(BuildLocale(), 0);
  const std::string whole(CSDX_Contents()->substr(10));
  const auto with = [&whole](size_t at, const std::string& text) {
    return std::string(whole).replace(at, text.size(), text);
  };
  const struct { const char* what; std::string text; const char* corrupt; } rows[] = {
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
  const std::string longer = whole + "more";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    const TraceCapture trace("D1");
    EXPECT_EQ(GetLocaleInfo(row.text.data(), row.text.size()), LocaleInfo::Corrupt);
    EXPECT_EQ(LocaleInForce().strings.weekdays[0], "");
    EXPECT_TRUE(LocaleInForce().Is('A', CLASS_UPPER)) << "the tables stay";
    EXPECT_EQ(trace.Lines().at(0), "D1: GetLocaleInfo() failed: buffer is corrupt ["s + row.corrupt + "]");
    EXPECT_EQ(GetLocaleInfo(longer.data(), longer.size()), LocaleInfo::Ok);
    EXPECT_EQ(LocaleInForce().strings.weekdays[0], "Sunday");
  }
}
// clang-format on

TEST(LocaleDescription, ClassesEveryCharacterAsTheLanguageDoes) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "de_DE"), nullptr);
  ASSERT_EQ(BuildLocale(), RESULT_OK);
  const std::pair<CharClass, int (*)(int)> CLASSES[] = {
      {CLASS_ALNUM, isalnum}, {CLASS_ALPHA, isalpha}, {CLASS_CNTRL, iscntrl},   {CLASS_DIGIT, isdigit},
      {CLASS_GRAPH, isgraph}, {CLASS_LOWER, islower}, {CLASS_PRINT, isprint},   {CLASS_PUNCT, ispunct},
      {CLASS_SPACE, isspace}, {CLASS_UPPER, isupper}, {CLASS_XDIGIT, isxdigit}, {CLASS_ASCII, isascii},
  };
  for (int c = 0; c < 256; ++c)
    for (const auto& [bit, holds] : CLASSES)
      EXPECT_EQ(LocaleInForce().Is(static_cast<unsigned char>(c), bit), holds(c) != 0) << c << " " << bit;
  std::setlocale(LC_CTYPE, "C");
  ASSERT_EQ(BuildLocale(), RESULT_OK);
  CSDX_Reset();
}

}  // namespace
}  // namespace vorlix::test
