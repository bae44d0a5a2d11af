// OpenDialog levels: their lookups against plain walks over lists.
#include "dll/shared/dlglevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/dictstate.h"

namespace vorlix::test {
namespace {

using Names = std::vector<std::string>;

class Levels : public testing::Test {
 protected:
  struct OpenDialog {
    int32_t level;
    DictPtr dict;
    std::string hdl;
    Names ids;
  };

  ~Levels() override { FreeDlgLevel(-1); }

  std::string Pick(const char* from) { return {from[random_() % std::char_traits<char>::length(from)]}; }
  // Half of the ids are there.
  std::string PickId() {
    if (!dialogs_.empty() && random_() % 2 == 0) {
      const Names& ids = dialogs_[random_() % dialogs_.size()].ids;
      return ids[random_() % ids.size()];
    }
    return Pick("Dd") + "0" + Pick("123") + Pick("XYxi\xdd") + (random_() % 2 == 0 ? "" : "_" + Pick("1234567890"));
  }
  // The newest dialog that has this id from slot `first` to `end`, and where.
  std::pair<OpenDialog*, size_t> Find(const std::string& id, size_t first, size_t end) {
    for (OpenDialog& dialog : dialogs_)
      for (size_t slot = first; slot < std::min(end, dialog.ids.size()); ++slot)
        if (EqualNoCase(dialog.ids[slot], id)) return {&dialog, slot};
    return {nullptr, 0};
  }

  void Open(int32_t level) {
    const DictPtr dict = std::make_shared<Dict>();
    for (auto left = random_() % 4; left > 0; --left)
      dict->catalog.push_back({CopyText(Pick("ABab")), CopyText(Pick("XYxi\xdd") + (random_() % 4 == 0 ? "_1" : ""))});
    const bool in_phase = levels_.empty() || level >= levels_.back();
    ASSERT_EQ(AddDlgLevel(dict, level), in_phase ? DLG_OK : DLG_REFUSED);
    if (!in_phase) return;
    levels_.push_back(level);
    for (const CatalogEntry& line : dict->catalog)
      dialogs_.push_front({level, dict, line.hdl.get(), {"D0" + std::to_string(level) + line.pfx.get()}});
  }
  void Close(int32_t level) {
    FreeDlgLevel(level);
    std::erase_if(levels_, [=](int32_t own) { return own >= level; });
    std::erase_if(dialogs_, [=](const OpenDialog& dialog) { return dialog.level >= level; });
  }
  void NewAlias(const std::string& id) {
    OpenDialog* const dialog = Find(id, 0, 1).first;
    const DlgResult expected = dialog == nullptr ? DLG_REFUSED : dialog->ids.size() == 10 ? DLG_NONE : DLG_OK;
    if (expected == DLG_OK) dialog->ids.push_back(id + "_" + std::to_string(dialog->ids.size()));
    CText alias;
    ASSERT_EQ(NewDlgAlias(id, alias), expected) << id;
    ASSERT_EQ(alias.View(), expected == DLG_OK ? dialog->ids.back() : "");
  }
  void DelAlias(const std::string& id) {
    const auto [dialog, slot] = Find(id, 1, 10);
    ASSERT_EQ(DelDlgAlias(id), dialog != nullptr ? DLG_OK : DLG_REFUSED) << id;
    if (dialog != nullptr) dialog->ids.erase(dialog->ids.begin() + static_cast<std::ptrdiff_t>(slot));
  }

  // All dialogs with their aliases, and what one id and one handle lead to.
  void ExpectSame(const std::string& id, const std::string& hdl) {
    std::string shown;
    for (const OpenDialog& dialog : dialogs_) {
      shown += (shown.empty() ? "" : ", ") + dialog.ids[0];
      const Names& ids = Find(dialog.ids[0], 0, 1).first->ids;
      for (size_t slot = 1; slot < ids.size(); ++slot) shown += "=" + ids[slot];
    }
    ASSERT_EQ(ShowDialogs(), shown);
    const OpenDialog* const any = Find(id, 0, 10).first;
    const ResolvedDlg resolved = ResolveDlgID(id);
    ASSERT_EQ(resolved.dict, any != nullptr ? any->dict : nullptr) << id;
    ASSERT_EQ(resolved.hdl.View(), any != nullptr ? any->hdl : "") << id;
    const auto mapped = std::ranges::find_if(
        dialogs_, [&](const OpenDialog& own) { return own.level == levels_.back() && EqualNoCase(own.hdl, hdl); });
    const std::optional<CText> found = MapDlgHandle(hdl);
    ASSERT_EQ(found.has_value(), mapped != dialogs_.end()) << hdl;
    ASSERT_EQ(found.value_or("").View(), found ? mapped->ids[0] : "") << hdl;
  }

  std::mt19937 random_{3};
  std::vector<int32_t> levels_;     // the newest last
  std::deque<OpenDialog> dialogs_;  // the newest first
};

TEST_F(Levels, AnswerAsTheWalksDo) {
  for (int step = 0; step < 10000 && !HasFatalFailure(); ++step) {
    const auto level = static_cast<int32_t>(1 + random_() % 3);
    const unsigned what = random_() % 64;
    if (what == 0) Close(random_() % 8 == 0 ? -1 : level);
    if (what >= 1 && what < 4 && levels_.size() < 4) Open(level);
    if (what >= 4 && what < 20) DelAlias(PickId());
    if (what >= 20) NewAlias(PickId());
    ExpectSame(PickId(), Pick("ABabC"));
  }
}

// No dictionary file makes such a catalog.
TEST_F(Levels, RefuseCatalogsThatAreNotComplete) {
  const DictPtr dict = std::make_shared<Dict>();
  dict->catalog.push_back({nullptr, CopyText("X")});
  dict->catalog.push_back({CopyText("D"), nullptr});
  const TraceCapture trace("D1");
  EXPECT_EQ(AddDlgLevel(dict, 1), DLG_REFUSED);
  EXPECT_EQ(Messages(trace),
            "D1: AddDlgLevel() failed: missing catalog handle\nD1: AddDlgLevel() failed: missing catalog prefix [D=]");
  dict->instance_cnt = 2;
  EXPECT_EQ(AddDlgLevel(dict, 1), DLG_OK) << "it has been there before";
  EXPECT_EQ(ShowDialogs(), "D01, D01X");
}

}  // namespace
}  // namespace vorlix::test
