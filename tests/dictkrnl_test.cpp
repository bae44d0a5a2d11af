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

/// Where the sections are that a search finds: a walk over all of them.
std::vector<size_t> Walk(const Dict& dict, std::string_view name, size_t len) {
  std::vector<size_t> found;
  for (size_t at = 0; at < dict.sections.size(); ++at) {
    const std::string_view own = dict.sections[at]->section.get();
    const bool whole = len == 0 || len > name.size();
    const bool same = whole ? EqualNoCase(own, name) : StartsWithNoCase(own, name.substr(0, len));
    if (same || name.data() == ANY_SECTION.data()) found.push_back(at);
  }
  return found;
}

TEST(Dicts, FindSectionsAsTheyComeAndGo) {
  std::mt19937 random(3);
  const auto pick_part = [&] { return std::string("kKd.").substr(random() % 4, random() % 3); };
  const auto pick_name = [&] { return pick_part() + (random() % 16 == 0 ? "" : ".") + pick_part(); };
  const auto has_dot = [](const SectionPtr& section) { return std::strchr(section->section.get(), '.') != nullptr; };
  Dict dict;
  for (int step = 0; step < 5000; ++step) {
    if (!dict.sections.empty() && random() % 2 == 0)
      dict.sections.RemoveLast();
    else
      AddSection(dict, pick_name());
    const std::string picked = pick_name();
    const std::string_view name = random() % 16 == 0 ? ANY_SECTION : picked;
    const size_t len = random() % 6;
    std::vector<size_t> found;
    for (SectionPtr section = FindSection(dict, name, len); section != nullptr;
         section = FindNextSection(dict, *section, name, len))
      found.push_back(section->position);
    ASSERT_EQ(found, Walk(dict, name, len)) << name << " " << len;
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
    EXPECT_EQ(UpdateDict("D01X", xbuf, false), message.empty() ? 0 : -2) << xbuf;
    EXPECT_EQ(Messages(trace), message) << xbuf;
    EXPECT_EQ(ShowDicts(), std::string("D/") + kind + " x1: A=X [a.f PATH=p OBJTYPE=ET FTYP=K]" + added + "\n") << xbuf;
    CloseAllDicts();
  }
}

}  // namespace
}  // namespace vorlix::test
