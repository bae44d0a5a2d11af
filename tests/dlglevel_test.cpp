// Dialog levels against a plain rendering of the walks over them.
#include "dll/shared/dlglevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <random>
#include <string>
#include <vector>

#include "tests/support/callables.h"
#include "tests/support/dictstate.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;
using Names = std::vector<std::string>;

/// A dictionary with catalog lines "A=X" ("-" for an absent text) and sections without attributes.
DictPtr MakeDict(const Names& catalog, const Names& sections = {}, int32_t kind = DICT_ORIGINAL, int32_t holders = 1) {
  const auto text = [](const std::string& part) { return part == "-" ? nullptr : CopyText(part); };
  const DictPtr dict = std::make_shared<Dict>();
  dict->id = "Dict";
  dict->kind = kind;
  dict->instance_cnt = holders;
  for (const std::string& line : catalog) {
    const size_t equals = line.find('=');
    dict->catalog.push_back({text(line.substr(0, equals)), text(line.substr(equals + 1))});
  }
  for (const std::string& section : sections) AddSection(*dict, section);
  return dict;
}

class Levels : public testing::Test {
 protected:
  ~Levels() override { FreeDlgLevel(-1); }
};

TEST_F(Levels, CheckWhatIsOpened) {
  const std::string low = "D01, D01, D01Y, D01X", high = "D100X, " + low;
  const struct {
    int32_t level;
    DictPtr dict;
    std::string dialogs;   // all of them afterwards
    std::string messages;  // each behind "AddDlgLevel() failed: "
  } ROWS[] = {
      {1, MakeDict({"A=X", "B=Y"}, {"a.f", "B.g.h", "a."}), "D01Y, D01X", ""},
      {1, MakeDict({"C=", "C="}, {"c.f", "a.f"}), low, ""},
      {0, MakeDict({"A=X"}), low, "level is out of phase"},
      {100, MakeDict({"A=X"}), high, ""},
      {101, MakeDict({"B=Y"}, {"b.f", "a.f", "f", ".f"}), high,
       "prefix 'a' not found in catalog, section 'a.f'|missing prefix in section 'f'|prefix '' not found in catalog, "
       "section '.f'"},
      {101, MakeDict({"B=Y"}, {""}), high, "missing prefix in section ''"},
      {101, MakeDict({"B=Y"}, {"a.f", "f"}, DICT_DERIVED), "D101Y, " + high, ""},
      {101, MakeDict({"C=Z"}, {"a.f", "f"}, DICT_ORIGINAL, 2), "D101Z, D101Y, " + high, ""},
      {101, MakeDict({"-=X", "D=-", "E=V"}, {"b.f", "e.f", "d.f"}), high,
       "missing catalog handle|missing catalog prefix [D=]|prefix 'd' not found in catalog, section 'd.f'"},
      {100, MakeDict({}, {"a.f"}), high, ""},
      {100, MakeDict({"F=1"}, {"x.f"}), low, "prefix 'x' not found in catalog, section 'x.f'"},
  };
  for (const auto& row : ROWS) {
    SCOPED_TRACE(row.dialogs + row.messages);
    const TraceCapture trace("D1");
    EXPECT_EQ(AddDlgLevel(row.dict, row.level), row.messages.empty() ? DLG_OK : DLG_REFUSED);
    std::string told;
    for (const std::string& line : trace.Lines()) told += (told.empty() ? "" : "|") + line.substr(26);
    EXPECT_EQ(told, row.messages);
    EXPECT_EQ(ShowDialogs(), row.dialogs);
    EXPECT_EQ(row.dict.use_count() > 1, row.messages.empty()) << "a level shares what it has";
  }
}

// ---- Against a plain rendering --------------------------------------------------------------------------------------

struct PlainDialog {
  int32_t level;
  DictPtr dict;
  std::string hdl;
  Names ids;

  size_t Slot(const std::string& id, size_t first, size_t end) const {
    while (first < std::min(end, ids.size()) && !EqualNoCase(ids[first], id)) ++first;
    return first < std::min(end, ids.size()) ? first : SIZE_MAX;
  }
};

/// The rules as walks over lists.
struct PlainTable {
  std::vector<int32_t> levels;     // the newest last
  std::list<PlainDialog> dialogs;  // the newest first

  PlainDialog* Find(const std::string& id, size_t first, size_t end) {
    for (PlainDialog& dialog : dialogs)
      if (dialog.Slot(id, first, end) != SIZE_MAX) return &dialog;
    return nullptr;
  }
  const PlainDialog* Map(const std::string& hdl) const {
    for (const PlainDialog& dialog : dialogs)
      if (dialog.level == levels.back() && EqualNoCase(dialog.hdl, hdl)) return &dialog;
    return nullptr;
  }
};

class RandomLevels : public Levels {
 protected:
  std::string Pick(const char* from) { return {from[random_() % std::char_traits<char>::length(from)]}; }
  std::string PickId() {
    return Pick("Dd") + "0" + Pick("123") + Pick("XYxi\xdd") + (random_() % 2 == 0 ? "" : "_" + Pick("1234567890"));
  }

  void Open(int32_t level) {
    Names catalog;
    for (unsigned i = random_() % 4; i > 0; --i)
      catalog.push_back(Pick("ABab") + "=" + Pick("XYxi\xdd") + (random_() % 4 == 0 ? "_1" : ""));
    const DictPtr dict = MakeDict(catalog);
    const bool in_phase = plain_.levels.empty() || level >= plain_.levels.back();
    ASSERT_EQ(AddDlgLevel(dict, level), in_phase ? DLG_OK : DLG_REFUSED);
    if (!in_phase) return;
    plain_.levels.push_back(level);
    for (const std::string& line : catalog)
      plain_.dialogs.push_front({level, dict, line.substr(0, 1), {"D0" + std::to_string(level) + line.substr(2)}});
  }
  void Close(int32_t level) {
    FreeDlgLevel(level);
    std::erase_if(plain_.levels, [=](int32_t own) { return own >= level; });
    plain_.dialogs.remove_if([=](const PlainDialog& dialog) { return dialog.level >= level; });
  }
  void NewAlias(const std::string& id) {
    PlainDialog* const dialog = plain_.Find(id, 0, 1);
    const int32_t expected = dialog == nullptr ? DLG_REFUSED : dialog->ids.size() == 10 ? DLG_NONE : DLG_OK;
    std::string_view alias;
    ASSERT_EQ(NewDlgAlias(id.c_str(), alias), expected) << id;
    if (expected == DLG_OK) dialog->ids.push_back(id + "_" + std::to_string(dialog->ids.size()));
    ASSERT_EQ(alias, expected == DLG_OK ? dialog->ids.back() : "");
  }
  void DelAlias(const std::string& id) {
    PlainDialog* const dialog = plain_.Find(id, 1, 10);
    ASSERT_EQ(DelDlgAlias(id.c_str()), dialog != nullptr ? DLG_OK : DLG_REFUSED) << id;
    if (dialog != nullptr)
      dialog->ids.erase(dialog->ids.begin() + static_cast<std::ptrdiff_t>(dialog->Slot(id, 1, 10)));
  }

  void ExpectSameList(int32_t level) const {
    std::string listed, expected;
    std::string_view name, id;
    for (int32_t i = 0; GetDlgID("", level, i, name, id) == DLG_OK; ++i) listed.append(id).append(name);
    for (const PlainDialog& dialog : plain_.dialogs)
      if (dialog.level >= level) expected += dialog.ids[0] + dialog.ids[0].substr(3);
    ASSERT_EQ(listed, expected) << level;
    int32_t dicts = 0;
    while (GetDlgDict(level, dicts) != nullptr) ++dicts;
    ASSERT_EQ(dicts, std::ranges::count_if(plain_.levels, [=](int32_t own) { return own >= level; })) << level;
  }
  void ExpectSame(const std::string& id, const std::string& hdl) {
    std::string_view found;
    const PlainDialog* const any = plain_.Find(id, 0, 10);
    ASSERT_EQ(ResolveDlgID(id, found), any != nullptr ? any->dict : nullptr) << id;
    ASSERT_EQ(found, any != nullptr ? any->hdl : "") << id;
    const PlainDialog* const mapped = plain_.Map(hdl);
    ASSERT_EQ(MapDlgHandle(hdl, found), mapped != nullptr ? DLG_OK : DLG_NONE) << hdl;
    ASSERT_EQ(found, mapped != nullptr ? mapped->ids[0] : "") << hdl;
    const PlainDialog* const primary = plain_.Find(id, 0, 1);
    for (int32_t i = -1; i < 11; ++i) {
      const bool there = primary != nullptr && i > 0 && static_cast<size_t>(i) < primary->ids.size();
      ASSERT_EQ(GetDlgAlias(id.c_str(), i, found), there ? DLG_OK : primary != nullptr ? DLG_NONE : DLG_REFUSED);
      ASSERT_EQ(found, there ? primary->ids[static_cast<size_t>(i)] : "");
    }
  }

  std::mt19937 random_{3};
  PlainTable plain_;
};

TEST_F(RandomLevels, AnswerAsTheWalksDo) {
  for (int step = 0; step < 20000 && !HasFatalFailure(); ++step) {
    const auto level = static_cast<int32_t>(1 + random_() % 3);
    const unsigned what = random_() % 16;
    if (what == 0) Close(random_() % 8 == 0 ? -1 : level);
    if (what >= 1 && what < 3) Open(level);
    if (what >= 3 && what < 6) DelAlias(PickId());
    if (what >= 6) NewAlias(PickId());
    ExpectSameList(level);
    ExpectSame(PickId(), Pick("ABabC"));
  }
}

// ---- Missing memory, and what is traced -----------------------------------------------------------------------------

TEST_F(Levels, MissingMemoryLeavesNothingBehind) {
  AddDlgLevel(MakeDict({"A=X"}), 1);
  const DictPtr dict = MakeDict({"A=" + std::string(40, 'p'), "B=Y", "C=Z"}, {"a.f", "c.f"});
  bool failed = true;
  for (int n = 0; failed; ++n) {
    const TraceCapture trace("D1");
    int32_t result;
    {
      const FailAllocation fail(n);
      result = AddDlgLevel(dict, 2);
      failed = fail.Hit();
    }
    EXPECT_EQ(result, failed ? DLG_NO_MEMORY : DLG_OK) << n;
    EXPECT_EQ(ShowDialogs(), failed ? "D01X" : "D02Z, D02Y, D02" + std::string(40, 'p') + ", D01X") << n;
    EXPECT_EQ(trace.Lines().size(), failed ? 1U : 0U) << n;
    EXPECT_TRUE(!failed || trace.Lines()[0].find("() failed: heap overflow") != std::string::npos) << n;
    FreeDlgLevel(2);
  }
  std::string_view alias;
  for (int n = 0, made = 0; made < 9; ++n) {
    const std::string before = ShowDialogs();
    const FailAllocation fail(n % 3);
    const int32_t result = NewDlgAlias("D01X", alias);
    if (result == DLG_OK) ++made;
    EXPECT_EQ(result, fail.Hit() ? DLG_NO_MEMORY : DLG_OK);
    EXPECT_TRUE(!fail.Hit() || ShowDialogs() == before);
  }
}

TEST_F(Levels, AliasesAreTraced) {
  AddDlgLevel(MakeDict({"A=X"}), 1);
  std::string_view alias;
  for (int i = 0; i < 8; ++i) NewDlgAlias("D01X", alias);
  const TraceCapture trace("D2");
  NewDlgAlias("d01x", alias);
  GetDlgAlias("D01X", 9, alias);
  GetDlgAlias("D01X", 10, alias);
  GetDlgAlias("d01x_9", 1, alias);
  NewDlgAlias("d01x_9", alias);
  DelDlgAlias("D01X");
  NewDlgAlias("D01X", alias);
  EXPECT_EQ(Messages(trace),
            "D2: NewDlgAlias(id = d01x)\nD2: NewDlgAlias(): alias = d01x_9\nD2: GetDlgAlias(): alias = d01x_9\n"
            "D2: GetDlgAlias(): id_cnt = 10\nD1: GetDlgAlias(): DlgID d01x_9 does not exist\n"
            "D2: NewDlgAlias(id = d01x_9)\nD1: NewDlgAlias(): DlgID d01x_9 not found\n"
            "D2: DelDlgAlias(aliasID = D01X)\nD1: DelDlgAlias(): aliasID D01X not found\n"
            "D2: NewDlgAlias(id = D01X)\nD1: NewDlgAlias(): MAX_ID_CNT = 10");
}

}  // namespace
}  // namespace vorlix::test
