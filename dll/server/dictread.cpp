// The calls that read: the dialogs of the open levels with their IDs and aliases, and the dictionary of a dialog, which
// gives its list, and its fields, each packed as an XBUF.
#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/xpack.h"

namespace vorlix {

// ---- Dialogs --------------------------------------------------------------------------------------------------------

int32_t dict_DlgID(zString dict_id, IntByValue lvl, IntByValue idx, Out<String> xbuf, Out<IntByReference> eof_p) {
  const std::optional<DlgNames> names = GetDlgID(dict_id, lvl, idx);
  if (!names) {
    xbuf.len = 0;
    eof_p.Set(1);
    return RESULT_OK;
  }
  constexpr char ITEM_PREFIX[] = "Dlg_";
  XbufWriter writer{xbuf.buf, xbuf.max};
  if (!writer.Put(ITEM_PREFIX, "name", 'X', names->name) || !writer.Put(ITEM_PREFIX, "id", 'X', names->id) ||
      !writer.End())
    return RESULT_TOO_SHORT;
  xbuf.len = static_cast<int32_t>(writer.length);
  eof_p.Set(0);
  return RESULT_OK;
}

int32_t dict_MapID(zString handle, Out<String> id_p) {
  if (const std::optional<CText> id = MapDlgHandle(handle)) return DllStrFromC(*id, id_p);
  DebugPrint(TRACE_DICT, 1, "dict_MapID() failed: unknown dialog handle '%s'", handle);
  return RESULT_REFUSED;
}

int32_t dict_NewAlias(zString dlgID, Out<String> aliasID) {
  CText alias;
  if (NewDlgAlias(dlgID, alias) == DLG_OK) return DllStrFromC(alias, aliasID);
  DebugPrint(TRACE_DICT, 1, "dict_NewAlias() failed");
  return RESULT_REFUSED;
}

int32_t dict_GetAlias(zString dlgID, IntByValue alias_idx, Out<String> aliasID, Out<IntByReference> eof_p) {
  eof_p.Set(0);
  CText alias;
  const DlgResult result = GetDlgAlias(dlgID, alias_idx, alias);
  if (result == DLG_OK) return DllStrFromC(alias, aliasID);
  if (result == DLG_NONE) {
    eof_p.Set(1);
    aliasID.len = 0;
    return RESULT_OK;
  }
  DebugPrint(TRACE_DICT, 1, "dict_GetAlias() failed");
  return RESULT_REFUSED;
}

int32_t dict_DelAlias(zString aliasID) {
  if (DelDlgAlias(aliasID) == DLG_OK) return RESULT_OK;
  DebugPrint(TRACE_DICT, 1, "dict_DelAlias() failed");
  return RESULT_REFUSED;
}

// ---- Fields ---------------------------------------------------------------------------------------------------------

namespace {

// The dialog that a call addresses; without a dictionary when there is none, which has been traced.
ResolvedDlg FindDialog(const char* call, zString dlgID) {
  ResolvedDlg dlg = ResolveDlgID(dlgID);
  if (dlg.dict == nullptr) DebugPrint(TRACE_DICT, 1, "%s() failed: unknown dlgID '%s'", call, dlgID);
  return dlg;
}

// The next section in the walk of the dictionary; null at the end, from where the walk starts again.
const Section* NextSection(Dict& dict) {
  if (dict.cursor < dict.sections.size()) return dict.sections[dict.cursor++].get();
  dict.cursor = 0;
  return nullptr;
}

}  // namespace

int32_t dict_List(zString dlgID, zString item, Out<String> buf) {
  const ResolvedDlg dlg = FindDialog("dict_List", dlgID);
  if (dlg.dict == nullptr) return RESULT_REFUSED;
  buf.len = 0;
  const auto& items = dlg.dict->items;
  const size_t found = items.Find(item);
  return found < items.size() ? DllStrFromC(items[found].value, buf) : RESULT_OK;
}

int32_t dict_First(zString dlgID) {
  const ResolvedDlg dlg = FindDialog("dict_First", dlgID);
  if (dlg.dict == nullptr) return RESULT_REFUSED;
  dlg.dict->cursor = 0;
  return RESULT_OK;
}

int32_t dict_Next(zString dlgID, Out<String> xbuf, Out<IntByReference> rc_p) {
  rc_p.Set(0);
  xbuf.len = 0;
  const ResolvedDlg dlg = FindDialog("dict_Next", dlgID);
  if (dlg.dict == nullptr) return RESULT_REFUSED;
  while (const Section* section = NextSection(*dlg.dict))
    if (BelongsTo(*section, dlg.hdl)) return xpack_dict(*section, xbuf);
  rc_p.Set(1);
  return RESULT_OK;
}

int32_t dict_Get(zString dlgID, zString name, Out<String> xbuf) {
  xbuf.len = 0;
  const ResolvedDlg dlg = FindDialog("dict_Get", dlgID);
  if (dlg.dict == nullptr) return RESULT_REFUSED;
  const SectionPtr section = FindSection(*dlg.dict, SectionName{dlg.hdl, ".", name}.View());
  return section != nullptr ? xpack_dict(*section, xbuf) : RESULT_OK;
}

int32_t dict_GetByKey(zString dlgID, zString key_item, zString key_value, Out<String> xbuf) {
  DebugEntry(TRACE_DICT);
  xbuf.len = 0;
  const ResolvedDlg dlg = FindDialog("dict_GetByKey", dlgID);
  if (dlg.dict == nullptr) return RESULT_REFUSED;
  SectionPtr section = FirstField(*dlg.dict, dlg.hdl);
  if (section == nullptr) return RESULT_OK;
  const std::optional<int32_t> row = ObFindItem(key_item);
  if (!row) return RESULT_REFUSED;
  for (; section != nullptr; section = NextField(*dlg.dict, *section, dlg.hdl)) {
    AttrText attr;
    if (ObGetIdx(section->object, *row, attr) && EqualNoCase(attr.value, key_value)) return xpack_dict(*section, xbuf);
  }
  return RESULT_OK;
}

}  // namespace vorlix
