// The calls that open, close and change dictionaries.
#include "dll/server/dictopen.h"
#include "dll/server/functions.h"
#include "dll/shared/debug.h"
#include "dll/shared/dictkrnl.h"

namespace vorlix {
namespace {

constexpr char DICT = TRACE_DICT;

}  // namespace

int32_t dict_Open(zString id, zString fname, IntByValue lvl, Out<IntByReference> rc_p) {
  DebugEntry(DICT, "dict_Open");
  return OpenDict(id, fname, lvl, rc_p);
}

int32_t dict_OpenModel(zString id, zString fname, Out<IntByReference> rc_p) {
  DebugEntry(DICT, "dict_OpenModel");
  return OpenDict(id, fname, -1, rc_p);
}

int32_t dict_Close(IntByValue lvl) {
  DebugEntry(DICT, "dict_Close");
  CloseDict(lvl);
  return RESULT_OK;
}

int32_t dict_CloseAll() {
  DebugEntry(DICT, "dict_CloseAll");
  CloseAllDicts();
  return RESULT_OK;
}

int32_t dict_CloseModel(zString id) {
  DebugEntry(DICT, "dict_CloseModel");
  const DictPtr model = FindDict(id, DICT_MODEL);
  if (model == nullptr) {
    DebugPrint(DICT, 1, "dict_CloseModel() failed: unknown dictID '%s'", id);
    return RESULT_REFUSED;
  }
  model->instance_cnt = 1;
  RemoveDict(model);
  return RESULT_OK;
}

int32_t dict_Update(zString dlgID, In<String> Xdict) {
  DebugEntry(DICT, "dict_Update");
  return UpdateDict(dlgID, Xdict.View(), true) == 0 ? RESULT_OK : RESULT_REFUSED;
}

}  // namespace vorlix
