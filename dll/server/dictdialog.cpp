// The calls on the dialogs of the open levels: their IDs, and aliases of those.
#include <string_view>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

constexpr char PREFIX[] = "Dlg_";

}  // namespace

int32_t dict_DlgID(zString dict_id, IntByValue lvl, IntByValue idx, Out<String> xbuf, Out<IntByReference> eof_p) {
  std::string_view name;
  std::string_view id;
  if (GetDlgID(dict_id, lvl, idx, name, id) != DLG_OK) {
    xbuf.len = 0;
    eof_p.Set(1);
    return RESULT_OK;
  }
  XbufWriter writer{xbuf.buf, xbuf.max};
  if (!writer.Put(PREFIX, "name", 'X', name) || !writer.Put(PREFIX, "id", 'X', id) || !writer.End())
    return RESULT_TOO_SHORT;
  xbuf.len = static_cast<int32_t>(writer.length);
  eof_p.Set(0);
  return RESULT_OK;
}

int32_t dict_MapID(zString handle, Out<String> id_p) {
  std::string_view id;
  if (MapDlgHandle(handle, id) == DLG_OK) return DllStrFromC(id, id_p);
  DebugPrint(TRACE_DICT, 1, "dict_MapID() failed: unknown dialog handle '%s'", handle);
  return RESULT_REFUSED;
}

int32_t dict_NewAlias(zString dlgID, Out<String> aliasID) {
  std::string_view alias;
  if (NewDlgAlias(dlgID, alias) == DLG_OK) return DllStrFromC(alias, aliasID);
  DebugPrint(TRACE_DICT, 1, "dict_NewAlias() failed");
  return RESULT_REFUSED;
}

int32_t dict_GetAlias(zString dlgID, IntByValue alias_idx, Out<String> aliasID, Out<IntByReference> eof_p) {
  eof_p.Set(0);
  std::string_view alias;
  const int32_t result = GetDlgAlias(dlgID, alias_idx, alias);
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

}  // namespace vorlix
