// The calls that open, close and change dictionaries.
#include "dll/base/debug.h"
#include "dll/server/dictopen.h"
#include "dll/server/functions.h"
#include "dll/shared/dictkrnl.h"

namespace vorlix {

int32_t dict_Open(zString id, zString fname, IntByValue lvl, Out<IntByReference> rc_p) {
  DebugEntry(TRACE_DICT);
  return OpenDict(id, fname, lvl, rc_p);
}

int32_t dict_OpenModel(zString id, zString fname, Out<IntByReference> rc_p) {
  DebugEntry(TRACE_DICT);
  return OpenDict(id, fname, -1, rc_p);
}

int32_t dict_Close(IntByValue lvl) {
  DebugEntry(TRACE_DICT);
  CloseDict(lvl);
  return RESULT_OK;
}

int32_t dict_CloseAll() {
  DebugEntry(TRACE_DICT);
  CloseAllDicts();
  return RESULT_OK;
}

int32_t dict_CloseModel(zString id) {
  DebugEntry(TRACE_DICT);
  const DictPtr model = FindDict(id, DICT_MODEL);
  if (model == nullptr) {
    DebugPrint(TRACE_DICT, 1, "dict_CloseModel() failed: unknown dictID '%s'", id);
    return RESULT_REFUSED;
  }
  RemoveDict(model);
  return RESULT_OK;
}

int32_t dict_Update(zString dlgID, In<String> Xdict) {
  DebugEntry(TRACE_DICT);
  return UpdateDict(dlgID, Xdict.View(), true) == 0 ? RESULT_OK : RESULT_REFUSED;
}

}  // namespace vorlix
