// The calls that open, close and change dictionaries.
//
// A dictionary is built in a list of its own and goes to the head of the dictionary list once everything has succeeded,
// so that a failure at any point has nothing to undo but the level.
#include <array>
#include <cerrno>
#include <list>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "dll/base/debug.h"
#include "dll/base/syscall.h"
#include "dll/ini/ini.h"
#include "dll/server/functions.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

constexpr int32_t MAX_MODELS = 16;

using NameText = std::array<char, 81>;
using ValueText = std::array<char, 123>;

OwnedText CopyOrThrow(std::string_view text) {
  OwnedText copy = CopyText(text);
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

// ---- Inheritance ----------------------------------------------------------------------------------------------------

SectionPtr FindModel(std::string_view name) {
  for (const DictPtr& dict : DictList())
    if (dict->kind == DICT_MODEL)
      if (SectionPtr section = FindSection(*dict, name)) return section;
  return nullptr;
}

// Adds the attributes that an object lacks from the section of a model dictionary that its MODEL names, then from the
// one that this names, and so on; MODEL is released. False when a name is unknown, more than 16 sections are named, or
// memory ran out, which has been traced.
bool InheritObject(Object& object, CText section) {
  if (object.model == nullptr) return true;
  DebugEntry(TRACE_DICT);
  const OwnedText own = std::move(object.model);
  const char* name = own.get();
  for (int32_t depth = 0; depth < MAX_MODELS; ++depth) {
    const SectionPtr model = FindModel(name);
    if (model == nullptr) {
      DebugPrint(TRACE_DICT, 1, "InheritObject() failed: unknown model '%s', section '%s'", name, section.CStr());
      return false;
    }
    if (ObCopy(object, model->object, CopyMode::Missing, name) != AttrResult::Ok) return false;
    DebugPrint(TRACE_DICT, 3, "InheritObject(): attributes inherited from '%s', section '%s'", name, section.CStr());
    name = model->object.model.get();
    if (name == nullptr) return true;
  }
  DebugPrint(TRACE_DICT, 1, "InheritObject() failed: inheritance nesting too deep or recursive, section '%s'",
             section.CStr());
  return false;
}

// ---- The file -------------------------------------------------------------------------------------------------------

// A dictionary file, open until the end of the scope.
class DictFile {
 public:
  explicit DictFile(const char* fname) : hdl_(IniOpen(fname, "")) {}
  ~DictFile() {
    if (IsOpen()) IniClose(hdl_);
  }
  DictFile(const DictFile&) = delete;
  DictFile& operator=(const DictFile&) = delete;

  bool IsOpen() const { return hdl_ != NO_INI_HANDLE; }
  IniState NextSection(NameText& name) const {
    return IniNextSection(hdl_, name.data(), static_cast<int>(name.size()));
  }
  bool NextEntry() {
    state_ =
        IniNextEntry(hdl_, item.data(), static_cast<int>(item.size()), value.data(), static_cast<int>(value.size()));
    return state_ == INI_INSIDE;
  }
  // Whether the last section has no further entry because it could not be read on.
  bool Failed() const { return state_ == INI_FAILED; }

  // The entry that was read last.
  NameText item;
  ValueText value;

 private:
  int hdl_;
  IniState state_ = INI_INSIDE;
};

void ReadCatalog(Dict& dict, DictFile& file) {
  while (file.NextEntry()) dict.catalog.push_back({CopyOrThrow(file.item.data()), CopyOrThrow(file.value.data())});
}

void ReadList(Dict& dict, DictFile& file) {
  while (file.NextEntry()) {
    const size_t known = dict.items.Find(file.item.data());
    if (known < dict.items.size())
      dict.items[known].value += file.value.data();
    else
      dict.items.Append({CopyOrThrow(file.item.data()), file.value.data()});
  }
}

// False when the section is refused, which has been traced.
bool ReadSection(Dict& dict, DictFile& file, const char* name) {
  const SectionPtr section = AddSection(dict, name);
  Object& object = section->object;
  name = section->section.get();
  while (file.NextEntry()) {
    OwnedText value = CopyOrThrow(file.value.data());
    if (ObSet(object, file.item.data(), std::move(value), name) != AttrResult::Ok) return false;
  }
  // Half a section is not judged: the search for the next one says that the file cannot be read on. A model's sections
  // are completed where they are inherited.
  if (file.Failed() || dict.kind == DICT_MODEL) return true;
  return InheritObject(object, name) && ObCheck(object, name) == AttrResult::Ok;
}

void StartDict(std::list<DictPtr>& fresh, const char* id, DictKind kind) {
  fresh.push_back(std::make_shared<Dict>());
  fresh.front()->id = id;
  fresh.front()->kind = kind;
}

// Reads a whole file into a list of one dictionary.
FileCode ReadSections(std::list<DictPtr>& fresh, DictFile& file, const char* id, DictKind kind) {
  NameText name;
  IniState status;
  while ((status = file.NextSection(name)) == INI_INSIDE) {
    if (EqualNoCase(name.data(), "xx")) {
      DebugPrint(TRACE_DICT, 2, "OpenDict() warning: obsolete section '%s'", name.data());
      continue;
    }
    const bool is_first = fresh.empty();
    if (is_first) StartDict(fresh, id, kind);
    Dict& dict = *fresh.front();
    if (is_first && EqualNoCase(name.data(), "catalog"))
      ReadCatalog(dict, file);
    else if (EqualNoCase(name.data(), "list"))
      ReadList(dict, file);
    else if (!ReadSection(dict, file, name.data()))
      return FILE_REFUSED;
  }
  if (status == INI_FAILED) return MinusErrno();
  return fresh.empty() ? FILE_REFUSED : FILE_OK;
}

// The same, with missing memory as an outcome.
FileCode ReadDict(std::list<DictPtr>& fresh, DictFile& file, const char* id, DictKind kind) {
  try {
    return ReadSections(fresh, file, id, kind);
  } catch (const std::bad_alloc&) {
    return MinusErrno();
  }
}

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
  DictFile file(fname);
  if (!file.IsOpen()) return {RESULT_OK, MinusErrno()};
  std::list<DictPtr> fresh;
  const FileCode read = ReadDict(fresh, file, id, level < 0 ? DICT_MODEL : DICT_ORIGINAL);
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
