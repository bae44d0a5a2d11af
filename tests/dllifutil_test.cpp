// The strings through which functions read and fill String arguments.
#include "hostif/dllifutil.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/callables.h"

namespace vorlix {
namespace {

using test::TestString;
using namespace std::string_literals;

// clang-format off
TEST(Strings, TakeWhatFits) {
  const struct { int32_t max; std::string text; int32_t code; } rows[] = {
      {5, "", 0}, {5, "abcde", 0}, {5, "a\0b"s, 0}, {5, "abcdef", 18}, {0, "", 0}, {0, "a", 18}, {-1, "a", 18},
      {-1, "", 18}, {5, std::string(1000, 'x'), 18}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text.size() << " characters into " << row.max);
    const std::string old = row.max > 0 ? "old" : "";
    const std::string expected = row.code == 0 ? row.text : old;
    TestString from_text(row.max, old);
    EXPECT_EQ(DllStrFromC(row.text, from_text), row.code);
    EXPECT_EQ(from_text.View(), expected);
    TestString copy(row.max, old);
    EXPECT_EQ(DllStrCopy(copy, TestString(1000, row.text)), row.code);
    EXPECT_EQ(copy.View(), expected);
    EXPECT_EQ(DllStrLen(copy), static_cast<int32_t>(expected.size()));
    EXPECT_TRUE(from_text.GuardsIntact() && copy.GuardsIntact());
  }
}
// clang-format on

TEST(Strings, BecomeTextsThatEndInNul) {
  const std::string rows[][2] = {{"abc", "abc"}, {"", ""}, {"ab\0cd"s, "ab"}, {"\0"s, ""}};
  for (const auto& [characters, text] : rows) {
    std::string room(characters.size() + 2, '#');
    DllStrToC(TestString(9, characters), room.data());
    EXPECT_EQ(room.c_str(), text);
    EXPECT_EQ(room.back(), '#') << text;
  }
}

// clang-format off
TEST(Strings, GiveViewsOfTheirParts) {
  constexpr const char* NONE = "no view";
  const struct { int32_t start, count; const char* part; } rows[] = {
      {1, 5, "abcde"}, {1, 6, "abcde"}, {2, 3, "bcd"}, {5, 1, "e"}, {5, 9, "e"}, {3, 0, ""}, {2, INT32_MAX, "bcde"},
      {6, 1, NONE}, {0, 1, NONE}, {-1, 1, NONE}, {1, -1, NONE}, {INT32_MAX, 1, NONE}, {INT32_MIN, 1, NONE}};
  TestString s(9, "abcde");
  for (const auto& row : rows) {
    const DllString* view = DllStrSub(s, row.start, row.count);
    EXPECT_EQ(view != nullptr ? view->View() : NONE, row.part) << row.start << ", " << row.count;
    EXPECT_TRUE(view == nullptr || (view->max == view->len && view->buf == s.Get().buf + row.start - 1)) << row.part;
  }
  EXPECT_EQ(DllStrSub(s, 1, 2), DllStrSub(s, 4, 1)) << "there is a single view";
  EXPECT_EQ(DllStrSub(TestString(9, ""), 1, 1), nullptr);
  EXPECT_EQ(DllStrFromC(s.View().substr(2), s), 0);
  EXPECT_EQ(s.View(), "cde") << "onto itself";
}
// clang-format on

}  // namespace
}  // namespace vorlix
