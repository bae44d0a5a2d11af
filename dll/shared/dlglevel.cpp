// Opening and closing dialog levels, the lookup of their dialogs, and aliases.
#include "dll/shared/dlglevel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlgtable.h"

namespace vorlix {
namespace {

// What stands before the prefix in a dialog ID, and before the dialog's name as far as levels have two digits.
constexpr size_t NAME_START = 3;

// ---- Opening --------------------------------------------------------------------------------------------------------

bool ReserveDialog() {
  try {
    DlgLevels().ReserveDialog();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

DlgResult AddDlgHandle(std::string_view hdl, std::string_view pfx, int32_t level) {
  if (!ReserveDialog()) {
    DebugPrint(TRACE_DICT, 1, "AddDlgHandle() failed: heap overflow (1)");
    return DLG_NO_MEMORY;
  }
  std::array<char, 16> head;
  std::snprintf(head.data(), head.size(), "D%02d", level);
  OwnedText own_hdl = CopyText(hdl);
  OwnedText id = JoinTexts(head.data(), pfx);
  if (own_hdl == nullptr || id == nullptr) {
    DebugPrint(TRACE_DICT, 1, "AddDlgHandle() failed: heap overflow (2)");
    return DLG_NO_MEMORY;
  }
  DlgLevels().PushDialog(std::move(own_hdl), std::move(id));
  return DLG_OK;
}

bool IsComplete(const CatalogEntry& entry) {
  if (entry.hdl == nullptr)
    DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: missing catalog handle");
  else if (entry.pfx == nullptr)
    DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: missing catalog prefix [%s=]", entry.hdl.get());
  return entry.hdl != nullptr && entry.pfx != nullptr;
}

// Adds the dialogs of a catalog. When it is checked, incomplete entries are left out, and DLG_REFUSED is the result.
DlgResult AddCatalog(const Dict& dict, int32_t level, bool check) {
  DlgResult result = DLG_OK;
  for (const CatalogEntry& entry : dict.catalog) {
    if (check && !IsComplete(entry))
      result = DLG_REFUSED;
    else if (AddDlgHandle(CText(entry.hdl), CText(entry.pfx), level) != DLG_OK)
      return DLG_NO_MEMORY;
  }
  return result;
}

// Reports every section without a handle, or with one that is no dialog's on the top level.
void ReportSections(const Dict& dict) {
  for (const SectionPtr& section : dict.sections) {
    const CText name(section->name);
    const size_t dot = name.View().find('.');
    if (dot == std::string_view::npos)
      DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: missing prefix in section '%s'", name.CStr());
    else if (!MapDlgHandle(name.View().substr(0, dot)))
      DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: prefix '%.*s' not found in catalog, section '%s'",
                 static_cast<int>(dot), name.CStr(), name.CStr());
  }
}

DlgResult CheckSections(const Dict& dict) {
  const auto known = [](const SectionGroup& group) { return MapDlgHandle(group.handle).has_value(); };
  if (dict.sections.AllGrouped() && std::ranges::all_of(dict.sections.Groups(), known)) return DLG_OK;
  ReportSections(dict);
  return DLG_REFUSED;
}

DlgResult FillLevel(const Dict& dict, int32_t level) {
  const bool is_new = dict.kind == DICT_ORIGINAL && dict.instance_cnt == 1;
  const DlgResult catalog = AddCatalog(dict, level, is_new);
  if (catalog == DLG_NO_MEMORY || !is_new) return catalog;
  const DlgResult sections = CheckSections(dict);
  return catalog != DLG_OK ? catalog : sections;
}

// The number of the lowest level from `level` up, when there are levels: a negative one stands for the top.
int32_t LowestLevel(int32_t level) { return level < 0 ? DlgLevels().Levels().back().level : level; }

}  // namespace

DlgResult AddDlgLevel(const DictPtr& dict, int32_t level) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "AddDlgLevel(level=%d)", level);
  DlgTable& table = DlgLevels();
  if (!table.Levels().empty() && level < table.Levels().back().level) {
    DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: level is out of phase");
    return DLG_REFUSED;
  }
  try {
    table.PushLevel(dict, level);
  } catch (const std::bad_alloc&) {
    DebugPrint(TRACE_DICT, 1, "AddDlgLevel() failed: heap overflow");
    return DLG_NO_MEMORY;
  }
  const DlgResult result = FillLevel(*dict, level);
  if (result != DLG_OK) {
    const int error = errno;  // of the allocation that failed: the caller reports it
    FreeDlgLevel(level);
    errno = error;
  }
  return result;
}

void FreeDlgLevel(int32_t level) {
  DebugEntry(TRACE_DICT);
  DlgTable& table = DlgLevels();
  while (!table.Levels().empty() && table.Levels().back().level >= level) table.PopLevel();
}

// ---- Looking up -----------------------------------------------------------------------------------------------------

DictPtr GetDlgDict(int32_t level, int32_t idx) {
  const std::vector<DlgLevel>& levels = DlgLevels().Levels();
  if (levels.empty()) {
    DebugPrint(TRACE_DICT, 2, "GetDlgDict() note: list is empty");
    return nullptr;
  }
  if (levels.back().level < level) DebugPrint(TRACE_DICT, 1, "GetDlgDict() failed: level %d does not exist", level);
  if (idx < 0 || static_cast<size_t>(idx) >= levels.size()) return nullptr;
  const DlgLevel& found = levels[levels.size() - 1 - static_cast<size_t>(idx)];
  return found.level >= LowestLevel(level) ? found.dict : nullptr;
}

std::optional<DlgNames> GetDlgID(CText dict_id, int32_t level, int32_t idx) {
  const DlgTable& table = DlgLevels();
  const std::vector<DlgLevel>& levels = table.Levels();
  if (levels.empty()) {
    DebugPrint(TRACE_DICT, 2, "GetDlgID() note: list is empty");
    return {};
  }
  if (levels.back().level < level) DebugPrint(TRACE_DICT, 1, "GetDlgID() failed: level %d does not exist", level);
  const int32_t lowest = LowestLevel(level);
  int64_t left = idx;
  for (size_t at = levels.size(); at-- > 0 && levels[at].level >= lowest;) {
    const CText own_id = levels[at].dict->id;
    DebugPrint(TRACE_DICT, 3, "GetDlgID(): level = %d, dict_id = \"%s\", id = \"%s\"", level, dict_id.CStr(),
               own_id.CStr());
    if (!dict_id.empty() && !EqualNoCase(dict_id, own_id)) continue;
    const auto count = static_cast<int64_t>(table.DialogCount(at));
    if (left >= 0 && left < count) {
      const auto last = static_cast<int64_t>(levels[at].first_dialog) + count - 1;
      const CText id = table.Dialogs()[static_cast<size_t>(last - left)].ids[0];
      return DlgNames{id, id.From(NAME_START)};
    }
    left -= count;
  }
  return {};
}

FoundDlg FindDlg(std::string_view dlgID) {
  DlgTable& table = DlgLevels();
  const size_t primary = table.FindPrimary(dlgID);
  const size_t alias = table.FindAlias(dlgID).dialog;
  const size_t newest = alias == DlgTable::NONE || (primary != DlgTable::NONE && primary > alias) ? primary : alias;
  if (newest == DlgTable::NONE) return {};
  return {&table.LevelOf(newest), &table.Dialogs()[newest]};
}

ResolvedDlg ResolveDlgID(std::string_view dlgID) {
  const FoundDlg found = FindDlg(dlgID);
  if (found.level == nullptr) return {};
  return {found.level->dict, found.dialog->hdl};
}

std::optional<CText> MapDlgHandle(std::string_view hdl) {
  DlgTable& table = DlgLevels();
  const size_t dialog = table.FindHandle(hdl);
  // Levels never fall towards the top: the newest dialog of this name is on the top level, or none is.
  if (dialog == DlgTable::NONE || table.LevelOf(dialog).level != table.Levels().back().level) return {};
  return table.Dialogs()[dialog].ids[0];
}

// ---- Aliases --------------------------------------------------------------------------------------------------------

namespace {

// Gives the dialog an alias with this name; false when there is no memory for it.
bool StoreAlias(size_t dialog, CText id, const char* suffix) {
  OwnedText alias = JoinTexts(id, suffix);
  if (alias == nullptr) return false;
  try {
    DlgLevels().AddAlias(dialog, std::move(alias));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace

DlgResult NewDlgAlias(CText id, CText& alias) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 2, "NewDlgAlias(id = %s)", id.CStr());
  alias = {};
  const size_t found = DlgLevels().FindPrimary(id);
  if (found == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): DlgID %s not found", id.CStr());
    return DLG_REFUSED;
  }
  const Dialog& dialog = DlgLevels().Dialogs()[found];
  if (dialog.id_cnt == MAX_ID_CNT) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): MAX_ID_CNT = %d", MAX_ID_CNT);
    return DLG_NONE;
  }
  const int32_t slot = dialog.id_cnt;
  std::array<char, 16> suffix;
  std::snprintf(suffix.data(), suffix.size(), "_%d", slot);
  DebugPrint(TRACE_DICT, 2, "NewDlgAlias(): alias = %s%s", id.CStr(), suffix.data());
  if (!StoreAlias(found, id, suffix.data())) {
    DebugPrint(TRACE_DICT, 1, "NewDlgAlias(): Memory allocation failed");
    return DLG_NO_MEMORY;
  }
  alias = dialog.ids[static_cast<size_t>(slot)];
  return DLG_OK;
}

DlgResult GetDlgAlias(CText id, int32_t alias_idx, CText& alias) {
  DebugEntry(TRACE_DICT);
  alias = {};
  const size_t found = DlgLevels().FindPrimary(id);
  if (found == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "GetDlgAlias(): DlgID %s does not exist", id.CStr());
    return DLG_REFUSED;
  }
  const Dialog& dialog = DlgLevels().Dialogs()[found];
  if (alias_idx < 1 || alias_idx >= dialog.id_cnt) {
    DebugPrint(TRACE_DICT, 2, "GetDlgAlias(): id_cnt = %d", dialog.id_cnt);
    return DLG_NONE;
  }
  alias = dialog.ids[static_cast<size_t>(alias_idx)];
  DebugPrint(TRACE_DICT, 2, "GetDlgAlias(): alias = %s", alias.CStr());
  return DLG_OK;
}

DlgResult DelDlgAlias(CText aliasID) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 2, "DelDlgAlias(aliasID = %s)", aliasID.CStr());
  const DlgTable::Alias found = DlgLevels().FindAlias(aliasID);
  if (found.dialog == DlgTable::NONE) {
    DebugPrint(TRACE_DICT, 1, "DelDlgAlias(): aliasID %s not found", aliasID.CStr());
    return DLG_REFUSED;
  }
  DlgLevels().RemoveAlias(found.dialog, found.slot);
  return DLG_OK;
}

}  // namespace vorlix
