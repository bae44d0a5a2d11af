// The calls on filter sets: a chosen set of the fields of a dialog, each with a value, that the host walks through with
// a filter.
#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/varcontext.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

ResultCode HostResult(VarResult result) {
  switch (result) {
    case VAR_OK: return RESULT_OK;
    case VAR_NO_ROOM: return RESULT_TOO_SHORT;
    case VAR_NO_MEMORY: return RESULT_NO_MEMORY;
    case VAR_CORRUPT: return RESULT_CORRUPT;
    default: return RESULT_REFUSED;
  }
}

// The same for calls that tell the host in `eof_p` when there is no variable, or no further one.
ResultCode HostResult(VarResult result, IntByReference eof_p) {
  eof_p.Set(result == VAR_NONE ? 1 : 0);
  return result == VAR_NONE ? RESULT_OK : HostResult(result);
}

}  // namespace

int32_t dict_XbufFilterInit(zString dlgID, In<String> xbuf, Out<IntByReference> eof_p) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarInitXBUF(dlgID, xbuf.View()), eof_p);
}

int32_t dict_XbufFilterAdd(zString dlgID, In<String> xbuf) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarUpdateXBUF(dlgID, xbuf.View()));
}

int32_t dict_ListFilterInit(zString dlgID, zString list, Out<IntByReference> eof_p) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarInitLIST(dlgID, list), eof_p);
}

int32_t dict_VarFilterInit(zString dlgID, zString name, zString val, Out<IntByReference> eof_p) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarInitONE(dlgID, name, val), eof_p);
}

int32_t dict_FilterInit(zString filterName) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarInitAccess(filterName));
}

int32_t dict_FilterNext(Out<String> xdict, Out<String> val, Out<IntByReference> eof_p) {
  DebugEntry(TRACE_DICT);
  if (const VarResult result = VarGetNext(); result != VAR_OK) return HostResult(result, eof_p);
  eof_p.Set(0);
  if (DllStrFromC(*VarCurrValue(), val) != RESULT_OK) {
    DebugPrint(TRACE_DICT, 1, "dict_FilterNext() failed: string overflow (val)");
    return RESULT_TOO_SHORT;
  }
  return xpack_dict(*VarCurrSection(), xdict);
}

int32_t dict_FilterSetValue(zString newValue) {
  DebugEntry(TRACE_DICT);
  return HostResult(VarSetCurrValue(newValue));
}

int32_t dict_FilterToXbuf(Out<String> xbuf) {
  DebugEntry(TRACE_DICT);
  int64_t length = 0;
  const VarResult result = VarWriteXBUF(xbuf.buf, xbuf.max, length);
  xbuf.len = static_cast<int32_t>(length);
  return HostResult(result);
}

int32_t dict_FilterFree() {
  DebugEntry(TRACE_DICT);
  return HostResult(VarFree());
}

}  // namespace vorlix
