// The calls that open, close and change dictionaries.
//
// A dictionary is built in a list of its own and goes to the head of the dictionary list once everything has succeeded,
// so that a failure at any point has nothing to undo but the level.
#include <cerrno>
#include <list>
#include <optional>

#include "dll/base/debug.h"
#include "dll/base/syscall.h"
#include "dll/server/functions.h"
#include "dll/shared/dictfile.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

// ---- Opening --------------------------------------------------------------------------------------------------------

// What the host is told: the result of the call, and what came of it in `rc_p`. Without a value that is left alone.
struct OpenOutcome {
  ResultCode result = RESULT_OK;
  std::optional<FileCode> rc;
};

// Opens a dictionary that is loaded at a further level.
OpenOutcome ShareDict(const DictPtr& dict, int32_t level) {
  const DlgResult added = AddDlgLevel(dict, level);
  if (added == DLG_NO_MEMORY) return {RESULT_OK, MinusErrno()};
  if (added != DLG_OK) return {RESULT_REFUSED, {}};
  ++dict->instance_cnt;
  DebugPrint(TRACE_DICT, 2, "OpenDict(): id = %s, instance_cnt = %d", dict->id.c_str(), dict->instance_cnt);
  return {RESULT_OK, FILE_OK};
}

OpenOutcome LoadDict(const char* id, const char* fname, int32_t level) {
  std::list<DictPtr> fresh;
  const FileCode read = ReadDictFile(fresh, fname, id, level < 0 ? DICT_MODEL : DICT_ORIGINAL);
  if (read != FILE_OK) return {RESULT_OK, read};
  if (level >= 0) {
    const DlgResult added = AddDlgLevel(fresh.front(), level);
    if (added == DLG_NO_MEMORY) return {RESULT_OK, MinusErrno()};
    if (added != DLG_OK) return {RESULT_REFUSED, FILE_REFUSED};
  }
  LinkDict(fresh);
  return {RESULT_OK, FILE_OK};
}

// Opens a dictionary for a dialog level, or a model dictionary when the level is negative. An ordinary one that is
// loaded is shared, and its file is not read; a model that is loaded is given up and read afresh.
//
// `rc` is 0 when it is open; FILE_REFUSED when its content is refused, or its level after it was read; when its file
// cannot be opened or read to its end, or memory ran out, the negative error number, or -1. What fails leaves no
// dictionary behind, and no file open.
OpenOutcome OpenDict(const char* id, const char* fname, int32_t level) {
  DebugEntry(TRACE_DICT);
  if (level < 0)
    DebugPrint(TRACE_DICT, 2, "OpenDict(): id='%s' (model dictionary)", id);
  else
    DebugPrint(TRACE_DICT, 2, "OpenDict(): id='%s', level=%d", id, level);
  errno = 0;  // what an earlier call left is not the reason of a failure in this one
  const DictPtr loaded = FindDict(id, level < 0 ? DICT_MODEL : DICT_ORIGINAL);
  if (loaded != nullptr && level >= 0) return ShareDict(loaded, level);
  if (loaded != nullptr) {
    RemoveDict(loaded);
    DebugPrint(TRACE_DICT, 2, "OpenDict() warning: model dictionary '%s' reopened", id);
  }
  return LoadDict(id, fname, level);
}

ResultCode TellHost(const OpenOutcome& outcome, IntByReference rc_p) {
  if (outcome.rc) rc_p.Set(*outcome.rc);
  return outcome.result;
}

}  // namespace

int32_t dict_Open(zString id, zString fname, IntByValue lvl, Out<IntByReference> rc_p) {
  DebugEntry(TRACE_DICT);
  return TellHost(OpenDict(id, fname, lvl), rc_p);
}

int32_t dict_OpenModel(zString id, zString fname, Out<IntByReference> rc_p) {
  DebugEntry(TRACE_DICT);
  return TellHost(OpenDict(id, fname, -1), rc_p);
}

// ---- Closing and changing -------------------------------------------------------------------------------------------

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
  return UpdateDict(dlgID, Xdict.View(), true) == UpdateResult::Ok ? RESULT_OK : RESULT_REFUSED;
}

}  // namespace vorlix
