// The strings through which functions read and fill String arguments.
#include "hostif/dllifutil.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/callables.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

TEST(Strings, TakeWhatFits) {
  const std::pair<int32_t, std::string> rows[] = {
      {5, ""},  {5, "abcde"}, {5, "a\0b"s}, {5, "abcdef"},   {0, ""},
      {0, "a"}, {-1, "a"},    {-1, ""},     {INT32_MIN, ""}, {5, std::string(1000, 'x')}};
  for (const auto& [max, text] : rows) {
    const bool fits = static_cast<int64_t>(text.size()) <= max;
    const std::string old = max > 0 ? "old" : "";
    TestString copy(max, old);
    EXPECT_EQ(DllStrCopy(copy, TestString(1000, text)), fits ? RESULT_OK : RESULT_TOO_SHORT) << text << " into " << max;
    EXPECT_EQ(copy.View(), fits ? text : old) << text << " into " << max;
    EXPECT_EQ(DllStrLen(copy), static_cast<int32_t>(copy.View().size()));
    EXPECT_TRUE(copy.GuardsIntact()) << text << " into " << max;
  }
}

TEST(Strings, BecomeTextsThatEndInNul) {
  for (const std::string& characters : {"abc"s, ""s, "ab\0cd"s, "\0"s}) {
    std::string room(characters.size() + 2, '#');
    DllStrToC(TestString(9, characters), room.data());
    const std::string text = characters.c_str();
    EXPECT_EQ(room, text + '\0' + std::string(room.size() - text.size() - 1, '#'));
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
    EXPECT_TRUE(view == nullptr || (view->max == view->len && view->buf == s.View().data() + row.start - 1)) << row.part;
  }
  EXPECT_EQ(DllStrFromC(s.View().substr(2), s), 0);
  EXPECT_EQ(s.View(), "cde") << "onto itself";
}
// clang-format on

}  // namespace
}  // namespace vorlix::test
