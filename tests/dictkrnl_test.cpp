// What no call reaches of dictionaries in memory: every search over sections, and updates that add some.
#include "dll/shared/dictkrnl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

// Where the sections are whose names meet `is_it`: a walk over all of them.
template <class IsIt>
std::vector<size_t> Walk(const Dict& dict, IsIt is_it) {
  std::vector<size_t> found;
  for (size_t at = 0; at < dict.sections.size(); ++at)
    if (is_it(std::string_view(dict.sections[at]->name.get()))) found.push_back(at);
  return found;
}

TEST(Dicts, FindSectionsAsTheyComeAndGo) {
  std::mt19937 random(3);
  const auto pick_part = [&] { return std::string("kKd.").substr(random() % 4, random() % 3); };
  const auto pick_name = [&] { return pick_part() + (random() % 16 == 0 ? "" : ".") + pick_part(); };
  const auto has_dot = [](const SectionPtr& section) { return std::strchr(section->name.get(), '.') != nullptr; };
  Dict dict;
  for (int step = 0; step < 5000; ++step) {
    if (!dict.sections.empty() && random() % 2 == 0)
      dict.sections.RemoveLast();
    else
      AddSection(dict, pick_name());
    const std::string name = pick_name();
    const auto named = Walk(dict, [&](std::string_view own) { return EqualNoCase(own, name); });
    const SectionPtr section = FindSection(dict, name);
    ASSERT_TRUE(named.empty() ? section == nullptr : section->position == named[0]) << name;
    const std::string handle = step % 2 == 0 ? pick_part() : name;
    std::vector<size_t> fields;
    for (SectionPtr at = FirstField(dict, handle); at != nullptr; at = NextField(dict, *at, handle))
      fields.push_back(at->position);
    ASSERT_EQ(fields, Walk(dict, [&](auto own) { return StartsWithNoCase(own, handle + "."); })) << handle;
    ASSERT_EQ(dict.sections.AllGrouped(), std::ranges::all_of(dict.sections, has_dot)) << step;
  }
}

// The calls update only fields that are there.
TEST(Dicts, GetNewSectionsFromUpdates) {
  const std::string f81(81, 'f');
  const struct {
    std::string xbuf;
    char kind;
    std::string added, message;
  } ROWS[] = {
      {"Xfld~0~3~NewXpath~0~1~qXobjtype~0~2~CB$", '1', " [a.new PATH=q OBJTYPE=CB FTYP=CB]", ""},
      {"Xfld~0~81~" + f81 + "Xpath~0~1~qXtyp~0~1~K$", '1', " [a." + f81 + " PATH=q OBJTYPE=ET FTYP=K]", ""},
      {"Xfld~0~82~f" + f81 + "Xpath~0~1~q$", '0', "", "D1: XbufObSet() failed: buffer corrupt (4), offset=92"},
      {"Xfld~0~3~newNlen~0~1~7$", '1', "", "D1: ObCheck() failed: missing PATH, section 'A.new'"},
  };
  for (const auto& [xbuf, kind, added, message] : ROWS) {
    OpenText("D", 1, "[catalog]\nA=X\n[a.f]\nPATH=p\nFTYP=K\n");
    const TraceCapture trace("D1");
    EXPECT_EQ(UpdateDict("D01X", xbuf, false), message.empty() ? UpdateResult::Ok : UpdateResult::Failed) << xbuf;
    EXPECT_EQ(Messages(trace), message) << xbuf;
    EXPECT_EQ(ShowDicts(), std::string("D/") + kind + " x1: A=X [a.f PATH=p OBJTYPE=ET FTYP=K]" + added + "\n") << xbuf;
    CloseAllDicts();
  }
}

}  // namespace
}  // namespace vorlix::test
