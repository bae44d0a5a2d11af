// Dictionaries in memory: lookups, and what becomes of them when they are changed and given up.
#include "dll/shared/dictkrnl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/dlglevel.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;

constexpr char TEXT[] =
    "[catalog]\nA=X\nB=Y\n[list]\ntitle=Some title that is long enough\n[a.f]\nPATH=p\nFTYP=T\nFLEN=3\n"
    "[b.f]\nPATH=a path that is long enough\nFTYP=N\nFMAX=0.5\nFLEN=0\n";

constexpr char CATALOG[] = " A=X B=Y list TITLE=Some title that is long enough";
constexpr char A[] = " [a.f PATH=p OBJTYPE=ET FTYP=T FFMT=LrcZtuvo FLEN=3]";
constexpr char B[] = " [b.f PATH=a path that is long enough OBJTYPE=ET FTYP=N FFMT=lRbzTPg FMAX=0.5]";
const std::string SOLE = "D/0 x1:"s + CATALOG + A + B + "\n";

class Dicts : public testing::Test {
 protected:
  ~Dicts() override { CloseAllDicts(); }
};

// clang-format off
TEST_F(Dicts, FindSections) {
  Dict dict;
  for (const char* const name : {"KD.Name", "be.x", "kd.plz", "kd", "KD.NAME", "b.kd.", "kd.name.x"})
    AddSection(dict, name);
  const struct { std::string_view name; size_t len; std::vector<size_t> found; } ROWS[] = {
      {"kd.name", 0, {0, 4}}, {"KD.PLZ", 0, {2}}, {"kd.", 0, {}}, {"", 0, {}}, {"KD.", 3, {0, 2, 4, 6}},
      {"kd.name", 3, {0, 2, 4, 6}}, {"kd", 2, {0, 2, 3, 4, 6}}, {"kd.name.", 8, {6}}, {"kd.n", 4, {0, 4, 6}},
      {"b.", 2, {5}}, {"k.", 2, {}}, {".", 1, {}}, {"kd", 3, {3}}, {"kd.plz", 99, {2}},
      {ANY_SECTION, 0, {0, 1, 2, 3, 4, 5, 6}},
  };
  for (const auto& row : ROWS) {
    std::vector<size_t> found;
    for (SectionPtr section = FindSection(dict, row.name, row.len); section != nullptr;
         section = FindNextSection(dict, *section, row.name, row.len))
      found.push_back(section->position);
    EXPECT_EQ(found, row.found) << row.name << " " << row.len;
  }
  EXPECT_STREQ(dict.sections[0]->section.get(), "kd.name");
  const std::vector<SectionPtr> kept(dict.sections.begin(), dict.sections.end());  // so that names stay readable
  while (dict.sections.size() > 1) dict.sections.RemoveLast();
  AddSection(dict, "kd.q");
  EXPECT_EQ(FindSection(dict, "be.", 3), nullptr);
  EXPECT_EQ(FindSection(dict, "KD.", 3), dict.sections[0]);
  EXPECT_TRUE(dict.sections.AllGrouped());
}

TEST_F(Dicts, AreUpdated) {
  const std::string f81(81, 'f'), both = std::string(A) + B;
  const struct { const char* dlgID; std::string items; bool strict, derived; std::string sections, message; } ROWS[] = {
      {"d01x", "fld=F|len=7|min=2", true, true, " [a.f PATH=p OBJTYPE=ET FTYP=T FFMT=LrcZtuvo FLEN=7 FMIN=2]"s + B, ""},
      {"D01Y", "max=|fmt=B|prec=-2|fld=f", true, true,
       A + " [b.f PATH=a path that is long enough OBJTYPE=ET FTYP=N FFMT=lRBztPg FPREC=2]"s, ""},
      {"D01X", "fld=New|path=q|objtype=CB", false, true, both + " [a.new PATH=q OBJTYPE=CB FTYP=CB]", ""},
      {"D01X", "fld=" + f81 + "|path=q|typ=K", false, true, both + " [a." + f81 + " PATH=q OBJTYPE=ET FTYP=K]", ""},
      {"D01X", "fld=f" + f81 + "|path=q", false, false, both, "XbufObSet() failed: buffer corrupt (4), offset=97"},
      {"D02X", "fld=f|len=7", true, false, both, "UpdateDict() failed: dialog ID 'D02X' not found"},
      {"D01X", "fld=%s|len=7", true, true, both, "UpdateDict() failed: unknown section 'A.%s'"},
      {"D01X", "fld=new|len=7", false, true, both, "ObCheck() failed: missing PATH, section 'A.new'"},
      {"D01X", "fld=f|len=7|typ=", true, true, " [a.f PATH=p OBJTYPE=ET FFMT=LrcZtuvo FLEN=7]"s + B,
       "ObCheck() failed: missing FTYP, section 'A.f'"},
      {"D01X", "fld=f|objtype=|len=7", true, true, " [a.f PATH=p OBJTYPE=\?\? FTYP=T FFMT=LrcZtuvo FLEN=3]"s + B,
       "ObSetIdx(OBJTYPE=\?\?) failed: invalid value, section 'A.f'"},
  };
  for (const bool shared : {false, true}) {
    for (const auto& row : ROWS) {
      SCOPED_TRACE(row.items + (shared ? " shared" : " sole"));
      if (shared) OpenText("D", 0, TEXT);
      OpenText("D", 1, shared ? "" : TEXT);
      const std::string before = ShowDicts();
      const TraceCapture trace("D1");
      EXPECT_EQ(UpdateDict(row.dlgID, Xbuf(row.items), row.strict), row.message.empty() ? 0 : -2);
      EXPECT_EQ(Messages(trace), row.message.empty() ? "" : "D1: " + row.message);
      const std::string changed = (row.derived ? "D/1 x1:"s : "D/0 x1:"s) + CATALOG + row.sections + "\n";
      // A copy has what has been set, and goes again with a failure; the other level keeps what it had.
      EXPECT_EQ(ShowDicts(), !shared ? changed : row.message.empty() ? changed + SOLE : before);
      EXPECT_EQ(GetDlgDict(1, 0), DictList().front());
      EXPECT_EQ(GetDlgDict(0, shared ? 1 : 0), DictList().back());
      CloseAllDicts();
    }
  }
}
// clang-format on

TEST_F(Dicts, LiveAsLongAsTheirHolders) {
  OpenText("D", 1, TEXT);
  const DictPtr held = DictList().front();
  const SectionPtr kept = held->sections[1];
  CloseAllDicts();
  EXPECT_EQ(ShowAll() + held->id + std::to_string(held->sections.size()), "0") << "the contents are gone";
  EXPECT_EQ(" [b.f " + ShowObject(kept->object) + "]", B) << "what is remembered stays";
}

}  // namespace
}  // namespace vorlix::test
