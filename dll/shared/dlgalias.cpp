// Aliases: further IDs of a dialog, for hosts that show it more than once.
#include <array>
#include <cstdio>
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/dlgtable.h"

namespace vorlix {
namespace {

/// Gives the dialog an alias with this name; false when there is no memory for it.
bool StoreAlias(size_t handle, const char* id, const char* suffix) {
  OwnedText alias = JoinTexts(id, suffix);
  if (alias == nullptr) return false;
  try {
    DlgLevels().AddAlias(handle, std::move(alias));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

int32_t NewDlgAlias(const char* id, std::string_view& alias) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 2, "NewDlgAlias(id = %s)", id);
  alias = {};
  const size_t found = DlgLevels().FindPrimary(id);
  if (found == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): DlgID %s not found", id);
    return DLG_REFUSED;
  }
  const DlgHandle& dialog = DlgLevels().Handles()[found];
  if (dialog.id_cnt == MAX_ID_CNT) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): MAX_ID_CNT = %d", MAX_ID_CNT);
    return DLG_NONE;
  }
  const int32_t slot = dialog.id_cnt;
  std::array<char, 16> suffix;
  std::snprintf(suffix.data(), suffix.size(), "_%d", slot);
  DebugPrint(TRACE_DICT, 2, "NewDlgAlias(): alias = %s%s", id, suffix.data());
  if (!StoreAlias(found, id, suffix.data())) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): Memory allocation failed");
    return DLG_NO_MEMORY;
  }
  alias = dialog.ids[static_cast<size_t>(slot)].get();
  return DLG_OK;
}

int32_t GetDlgAlias(const char* id, int32_t alias_idx, std::string_view& alias) {
  DebugEntry(TRACE_DICT);
  alias = {};
  const size_t found = DlgLevels().FindPrimary(id);
  if (found == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "GetDlgAlias(): DlgID %s does not exist", id);
    return DLG_REFUSED;
  }
  const DlgHandle& dialog = DlgLevels().Handles()[found];
  if (alias_idx < 1 || alias_idx >= dialog.id_cnt) {
    DebugPrint(TRACE_DICT, 2, "GetDlgAlias(): id_cnt = %d", dialog.id_cnt);
    return DLG_NONE;
  }
  alias = dialog.ids[static_cast<size_t>(alias_idx)].get();
  DebugPrint(TRACE_DICT, 2, "GetDlgAlias(): alias = %s", alias.data());
  return DLG_OK;
}

int32_t DelDlgAlias(const char* aliasID) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 2, "DelDlgAlias(aliasID = %s)", aliasID);
  const DlgTable::Alias found = DlgLevels().FindAlias(aliasID);
  if (found.handle == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "DelDlgAlias(): aliasID %s not found", aliasID);
    return DLG_REFUSED;
  }
  DlgLevels().RemoveAlias(found.handle, found.slot);
  return DLG_OK;
}

}  // namespace vorlix
