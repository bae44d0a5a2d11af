// Dictionaries in memory: lookups, and what becomes of them when they are changed and given up.
#include "dll/shared/dictkrnl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/dlglevel.h"
#include "tests/support/callables.h"
#include "tests/support/dictionary.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"

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

TEST_F(Dicts, FindSections) {
  Dict dict;
  for (const char* const name : {"KD.Name", "be.x", "kd.plz", "kd", "KD.NAME", "b.kd.", "kd.name.x"})
    AddSection(dict, name);
  const struct {
    std::string_view name;
    size_t len;
    std::vector<size_t> found;
  } ROWS[] = {
      {"kd.name", 0, {0, 4}},
      {"KD.PLZ", 0, {2}},
      {"kd.", 0, {}},
      {"", 0, {}},
      {"KD.", 3, {0, 2, 4, 6}},
      {"kd.name", 3, {0, 2, 4, 6}},
      {"kd", 2, {0, 2, 3, 4, 6}},
      {"kd.name.", 8, {6}},
      {"kd.n", 4, {0, 4, 6}},
      {"b.", 2, {5}},
      {"k.", 2, {}},
      {".", 1, {}},
      {"kd", 3, {3}},
      {"kd.plz", 99, {2}},
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
  const std::vector<SectionPtr> kept(dict.sections.begin(), dict.sections.end());
  while (dict.sections.size() > 1) dict.sections.RemoveLast();
  AddSection(dict, "kd.q");
  EXPECT_EQ(FindSection(dict, "be.", 3), nullptr);
  EXPECT_EQ(FindSection(dict, "KD.", 3), dict.sections[0]);
  EXPECT_TRUE(dict.sections.AllGrouped());
}

TEST_F(Dicts, AreFoundByIdAndKind) {
  OpenText("Eins", 1, "[xx]\n[list]\n");
  OpenText("eins", -1, "[list]\n");
  const DictPtr original = FindDict("EINS", DICT_ORIGINAL);
  ASSERT_NE(original, nullptr);
  EXPECT_NE(FindDict("EINS", DICT_MODEL), original);
  EXPECT_EQ(FindDict("Ein", DICT_ORIGINAL), nullptr);
  EXPECT_EQ(DeriveDict(original), original);
  EXPECT_EQ(FindDict("Eins", DICT_ORIGINAL), nullptr) << "what is derived is not found";
}

// ---- Changing -------------------------------------------------------------------------------------------------------

TEST_F(Dicts, AreUpdated) {
  const std::string f81(81, 'f'), both = std::string(A) + B;
  const std::string no_type = " [a.f PATH=p OBJTYPE=ET FFMT=LrcZtuvo FLEN=7]";
  const std::string no_object =
      " [a.f PATH=p OBJTYPE=?"
      "? FTYP=T FFMT=LrcZtuvo FLEN=3]";
  const struct {
    const char* dlgID;
    std::string items;
    bool strict;
    bool derived;          // afterwards
    std::string sections;  // of the dictionary, afterwards
    std::string message;   // the update fails with it
  } ROWS[] = {
      {"d01x", "fld=F|len=7|min=2", true, true, " [a.f PATH=p OBJTYPE=ET FTYP=T FFMT=LrcZtuvo FLEN=7 FMIN=2]"s + B, ""},
      {"D01Y", "max=|fmt=B|prec=-2|fld=f", true, true,
       A + " [b.f PATH=a path that is long enough OBJTYPE=ET FTYP=N FFMT=lRBztPg FPREC=2]"s, ""},
      {"D01X", "fld=New|path=q|objtype=CB", false, true, both + " [a.new PATH=q OBJTYPE=CB FTYP=CB]", ""},
      {"D01X", "fld=" + f81 + "|path=q|typ=K", false, true, both + " [a." + f81 + " PATH=q OBJTYPE=ET FTYP=K]", ""},
      {"D01X", "fld=f" + f81 + "|path=q", false, false, both, "XbufObSet() failed: buffer corrupt (4), offset=97"},
      {"D02X", "fld=f|len=7", true, false, both, "UpdateDict() failed: dialog ID 'D02X' not found"},
      {"D01X", "", true, false, both, "XbufObSet() failed: field name not specified"},
      {"D01X", "fld=f|ftyp=T", true, false, both, "XbufObSet() failed: unknown item 'ftyp'"},
      {"D01X", "fld=%s|len=7", true, true, both, "UpdateDict() failed: unknown section 'A.%s'"},
      {"D01X", "fld=new|len=7", false, true, both, "ObCheck() failed: missing PATH, section 'A.new'"},
      {"D01X", "fld=f|len=7|typ=", true, true, no_type + B, "ObCheck() failed: missing FTYP, section 'A.f'"},
      {"D01X", "fld=f|objtype=|len=7", true, true, no_object + B,
       "ObSetIdx(OBJTYPE=?"
       "?) failed: invalid value, section 'A.f'"},
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

/// Fails each allocation of `work` in turn until none is left, and expects that a failure changes nothing.
void FailEach(const std::function<bool()>& work) {
  bool failed = true;
  for (int n = 0; failed; ++n) {
    const std::string before = ShowAll();
    bool done;
    {
      const FailAllocation fail(n);
      done = work();
      failed = fail.Hit();
    }
    ASSERT_EQ(done, !failed) << n;
    ASSERT_TRUE(!failed || ShowAll() == before) << n << ShowAll();
  }
}

TEST_F(Dicts, MissingMemoryLeavesAnUpdateUndone) {
  const std::string xbuf = Xbuf("fld=new|path=a path that is long enough|typ=N");
  const auto update = [&] { return UpdateDict("D01X", xbuf, false) == 0; };
  OpenText("D", 0, TEXT);
  OpenText("D", 1, "");
  FailEach(update);
  EXPECT_EQ(DictList().front()->sections.size() + DictList().back()->sections.size(), 5U);

  CloseAllDicts();
  OpenText("D", 1, TEXT);
  DeriveDict(DictList().front());
  FailEach(update);
  EXPECT_EQ(DictList().front()->sections.size(), 3U);
}

TEST_F(Dicts, EveryPieceOfACopyCanFail) {
  OpenText("D has an id that is long enough", 1, TEXT);
  const DictPtr dict = DictList().front();
  dict->instance_cnt = 2;
  DictPtr derived;
  const TraceCapture trace("D1");
  FailEach([&] { return (derived = DeriveDict(dict)) != nullptr; });
  const std::vector<std::string> messages = trace.Lines();
  const std::string start = "D1: DeriveDict() failed: heap overflow (";
  for (const char* const piece : {"dict", "dict->id", "catalog", "catalog->hdl", "catalog->pfx", "item", "item->item",
                                  "item->value", "section", "section->section"})
    EXPECT_GT(std::count(messages.begin(), messages.end(), start + piece + ")"), 0) << piece;
  EXPECT_EQ(ShowDict(*derived).substr(derived->id.size()), "/1 x1:"s + CATALOG + A + B);
  EXPECT_EQ(dict->instance_cnt, 1);
  EXPECT_EQ(DictList().front(), derived);
}

// ---- Giving up ------------------------------------------------------------------------------------------------------

TEST_F(Dicts, LiveAsLongAsTheirHolders) {
  OpenText("D", 1, TEXT);
  OpenText("D", 2, "");
  OpenText("E", 2, "[catalog]\nE=E\n");
  const DictPtr shared = FindDict("D", DICT_ORIGINAL);
  const SectionPtr kept = FindSection(*shared, "b.f");
  EXPECT_EQ(UpdateDict("D02X", Xbuf("fld=f|len=9"), true), 0);
  EXPECT_EQ(ShowDialogs(), "D02E, D02Y, D02X, D01Y, D01X");
  EXPECT_EQ(DictList().size(), 3U);
  EXPECT_EQ(shared->instance_cnt, 1);
  EXPECT_EQ(UpdateDict("D02X", Xbuf("fld=f|len=8"), true), 0) << "in place now";
  EXPECT_EQ(DictList().size(), 3U);

  CloseDict(3);
  EXPECT_EQ(ShowDialogs(), "D02E, D02Y, D02X, D01Y, D01X");
  CloseDict(2);
  EXPECT_EQ(ShowAll(), SOLE + "D01Y, D01X");
  OpenText("D", 1, "");
  OpenText("E", 2, "[catalog]\nE=E\n");
  CloseDict(-7);
  EXPECT_EQ(ShowAll(), "");
  EXPECT_EQ(shared->id + std::to_string(shared->sections.size()), "0") << "the contents are gone";
  EXPECT_EQ(ShowObject(kept->object), std::string(B).substr(6, std::string(B).size() - 7))
      << "what is remembered stays";
}

TEST_F(Dicts, StayWhenTheirLevelIsRefused) {
  OpenText("D", 1, TEXT);
  EXPECT_EQ(OpenText("Bad", 1, "[catalog]\nE=E\n[none.f]\nPATH=p\nFTYP=K\n"), 1);
  EXPECT_EQ(ShowAll(), SOLE);
  CloseDict(1);
  EXPECT_EQ(ShowAll(), SOLE) << "no level holds it";
  EXPECT_EQ(OpenText("D", 2, ""), 0);
  EXPECT_EQ(ShowDialogs(), "D02Y, D02X");
  CloseDict(0);
  EXPECT_EQ(ShowAll(), SOLE);
  OpenText("M", -1, "[m]\n");
  OpenText("D", 3, "");
  CloseAllDicts();
  EXPECT_EQ(ShowAll(), "");
}

TEST_F(Dicts, TraceWhatBecomesOfThem) {
  OpenText("D", 1, "[catalog]\nA=X\n");
  OpenText("D", 2, "");
  const TraceCapture trace("D3");
  EXPECT_EQ(UpdateDict("D02X", Xbuf("fld=f|len=7"), true), -2);
  CloseDict(2);
  EXPECT_EQ(Messages(trace),
            "D3: UpdateDict(dlgID='D02X')\nD3: DeriveDict(id='D')\n"
            "D3: DeriveDict(): original dict copied (instance_cnt=2)\n"
            "D1: UpdateDict() failed: unknown section 'A.f'\nD3: RemoveDict(id='D')\n"
            "D3: FreeDict(id='D') instance=1\nD3: FreeDict(): dictionary freed\n"
            "D3: CloseDict(level=2)\nD3: RemoveDict(id='D')\nD3: FreeDict(id='D') instance=2\n"
            "D3: FreeDict(): instance_cnt decremented (1)");
}

}  // namespace
}  // namespace vorlix::test
