// Dialogs lie in one stack, each level's behind those of the level below, so a level goes by cutting the stack. The
// indexes hold positions in it: of a dialog, or of one of its ten IDs.
#include "dll/shared/dlgtable.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vorlix {
namespace {

// The position of an alias in its index, where higher ones are found first: newer dialogs, then lower slots.
uint32_t PositionOf(size_t at, int32_t slot) {
  return static_cast<uint32_t>(at) * MAX_ID_CNT + static_cast<uint32_t>(MAX_ID_CNT - 1 - slot);
}

DlgTable::Alias AliasAt(uint32_t position) {
  return {position / MAX_ID_CNT, MAX_ID_CNT - 1 - static_cast<int32_t>(position % MAX_ID_CNT)};
}

std::string_view IdOf(const Dialog& dialog, int32_t slot) { return dialog.ids[static_cast<size_t>(slot)].get(); }

// The first position in an index with this name, which `name_at` gives; or NONE.
template <class NameAt>
size_t FindFirst(const NameIndex& index, std::string_view wanted, NameAt name_at) {
  size_t found = DlgTable::NONE;
  index.Search(wanted, [&](uint32_t position) {
    if (!EqualNoCase(name_at(position), wanted)) return false;
    found = position;
    return true;
  });
  return found;
}

}  // namespace

size_t DlgTable::DialogCount(size_t level) const {
  const size_t end = level + 1 < levels_.size() ? levels_[level + 1].first_dialog : dialogs_.size();
  return end - levels_[level].first_dialog;
}

DlgLevel& DlgTable::LevelOf(size_t at) {
  const auto above = std::upper_bound(levels_.begin(), levels_.end(), at,
                                      [](size_t dialog, const DlgLevel& level) { return dialog < level.first_dialog; });
  return *(above - 1);
}

void DlgTable::PushLevel(const DictPtr& dict, int32_t level) { levels_.push_back({dict, level, dialogs_.size()}); }

void DlgTable::ReserveDialog() {
  const size_t count = dialogs_.size() + 1;
  if (dialogs_.capacity() < count) dialogs_.reserve(2 * count);
  primary_ids_.Reserve(count);
  handle_names_.Reserve(count);
}

void DlgTable::PushDialog(OwnedText hdl, OwnedText id) noexcept {
  const auto position = static_cast<uint32_t>(dialogs_.size());
  Dialog& dialog = dialogs_.emplace_back();
  dialog.hdl = std::move(hdl);
  dialog.ids[0] = std::move(id);
  dialog.id_cnt = 1;
  primary_ids_.Insert(position, IdOf(dialog, 0));
  handle_names_.Insert(position, dialog.hdl.get());
}

void DlgTable::PopLevel() noexcept {
  while (dialogs_.size() > levels_.back().first_dialog) {
    const size_t top = dialogs_.size() - 1;
    primary_ids_.Erase(static_cast<uint32_t>(top));
    handle_names_.Erase(static_cast<uint32_t>(top));
    for (int32_t slot = 1; slot < dialogs_[top].id_cnt; ++slot) aliases_.Erase(PositionOf(top, slot));
    dialogs_.pop_back();
  }
  levels_.pop_back();
}

void DlgTable::AddAlias(size_t at, OwnedText alias) {
  aliases_.Reserve((at + 1) * MAX_ID_CNT);
  Dialog& dialog = dialogs_[at];
  const int32_t slot = dialog.id_cnt++;
  dialog.ids[static_cast<size_t>(slot)] = std::move(alias);
  EnterAlias(at, slot);
}

void DlgTable::RemoveAlias(size_t at, int32_t slot) noexcept {
  Dialog& dialog = dialogs_[at];
  aliases_.Erase(PositionOf(at, slot));
  for (--dialog.id_cnt; slot < dialog.id_cnt; ++slot) {
    aliases_.Erase(PositionOf(at, slot + 1));
    dialog.ids[static_cast<size_t>(slot)] = std::move(dialog.ids[static_cast<size_t>(slot) + 1]);
    EnterAlias(at, slot);
  }
  dialog.ids[static_cast<size_t>(slot)].reset();
}

void DlgTable::EnterAlias(size_t at, int32_t slot) noexcept {
  aliases_.Insert(PositionOf(at, slot), IdOf(dialogs_[at], slot));
}

size_t DlgTable::FindPrimary(std::string_view id) const {
  return FindFirst(primary_ids_, id, [this](uint32_t at) { return IdOf(dialogs_[at], 0); });
}

DlgTable::Alias DlgTable::FindAlias(std::string_view id) const {
  const auto alias_at = [this](uint32_t at) { return IdOf(dialogs_[AliasAt(at).dialog], AliasAt(at).slot); };
  const size_t found = FindFirst(aliases_, id, alias_at);
  return found != NONE ? AliasAt(static_cast<uint32_t>(found)) : Alias();
}

size_t DlgTable::FindHandle(std::string_view hdl) const {
  return FindFirst(handle_names_, hdl, [this](uint32_t at) { return dialogs_[at].hdl.get(); });
}

DlgTable& DlgLevels() {
  static DlgTable table;
  return table;
}

}  // namespace vorlix
