#include "dll/shared/dlgtable.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vorlix {
namespace {

/// The position of an alias in its index, where higher ones are found first: newer dialogs, then lower slots.
uint32_t PositionOf(size_t handle, int32_t slot) {
  return static_cast<uint32_t>(handle) * MAX_ID_CNT + static_cast<uint32_t>(MAX_ID_CNT - 1 - slot);
}

DlgTable::Alias AliasAt(uint32_t position) {
  return {position / MAX_ID_CNT, MAX_ID_CNT - 1 - static_cast<int32_t>(position % MAX_ID_CNT)};
}

std::string_view IdOf(const DlgHandle& dialog, int32_t slot) { return dialog.ids[static_cast<size_t>(slot)].get(); }

/// The first position in an index with this name, which `name_at` gives; or NONE.
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

size_t DlgTable::HandleCount(size_t level) const {
  const size_t end = level + 1 < levels_.size() ? levels_[level + 1].first_handle : handles_.size();
  return end - levels_[level].first_handle;
}

DlgLevel& DlgTable::LevelOf(size_t handle) {
  const auto above = std::upper_bound(levels_.begin(), levels_.end(), handle,
                                      [](size_t at, const DlgLevel& level) { return at < level.first_handle; });
  return *(above - 1);
}

void DlgTable::PushLevel(const DictPtr& dict, int32_t level) { levels_.push_back({dict, level, handles_.size()}); }

void DlgTable::ReserveHandle() {
  const size_t count = handles_.size() + 1;
  if (handles_.capacity() < count) handles_.reserve(2 * count);
  primary_ids_.Reserve(count);
  handle_names_.Reserve(count);
}

void DlgTable::PushHandle(OwnedText hdl, OwnedText id) noexcept {
  const auto position = static_cast<uint32_t>(handles_.size());
  DlgHandle& dialog = handles_.emplace_back();
  dialog.hdl = std::move(hdl);
  dialog.ids[0] = std::move(id);
  dialog.id_cnt = 1;
  primary_ids_.Insert(position, IdOf(dialog, 0));
  handle_names_.Insert(position, dialog.hdl.get());
}

void DlgTable::PopLevel() noexcept {
  while (handles_.size() > levels_.back().first_handle) {
    const size_t top = handles_.size() - 1;
    primary_ids_.Erase(static_cast<uint32_t>(top));
    handle_names_.Erase(static_cast<uint32_t>(top));
    for (int32_t slot = 1; slot < handles_[top].id_cnt; ++slot) aliases_.Erase(PositionOf(top, slot));
    handles_.pop_back();
  }
  levels_.pop_back();
}

void DlgTable::AddAlias(size_t handle, OwnedText alias) {
  aliases_.Reserve((handle + 1) * MAX_ID_CNT);
  DlgHandle& dialog = handles_[handle];
  const int32_t slot = dialog.id_cnt++;
  dialog.ids[static_cast<size_t>(slot)] = std::move(alias);
  EnterAlias(handle, slot);
}

void DlgTable::RemoveAlias(size_t handle, int32_t slot) noexcept {
  DlgHandle& dialog = handles_[handle];
  aliases_.Erase(PositionOf(handle, slot));
  for (--dialog.id_cnt; slot < dialog.id_cnt; ++slot) {
    aliases_.Erase(PositionOf(handle, slot + 1));
    dialog.ids[static_cast<size_t>(slot)] = std::move(dialog.ids[static_cast<size_t>(slot) + 1]);
    EnterAlias(handle, slot);
  }
  dialog.ids[static_cast<size_t>(slot)].reset();
}

void DlgTable::EnterAlias(size_t handle, int32_t slot) noexcept {
  aliases_.Insert(PositionOf(handle, slot), IdOf(handles_[handle], slot));
}

size_t DlgTable::FindPrimary(std::string_view id) const {
  return FindFirst(primary_ids_, id, [this](uint32_t at) { return IdOf(handles_[at], 0); });
}

DlgTable::Alias DlgTable::FindAlias(std::string_view id) const {
  const auto alias_at = [this](uint32_t at) { return IdOf(handles_[AliasAt(at).handle], AliasAt(at).slot); };
  const size_t found = FindFirst(aliases_, id, alias_at);
  return found != NONE ? AliasAt(static_cast<uint32_t>(found)) : Alias();
}

size_t DlgTable::FindHandle(std::string_view hdl) const {
  return FindFirst(handle_names_, hdl, [this](uint32_t at) { return handles_[at].hdl.get(); });
}

DlgTable& DlgLevels() {
  static DlgTable table;
  return table;
}

}  // namespace vorlix
