// A dictionary is built in a list of its own and goes to the head of the dictionary list once everything has succeeded,
// so that a failure at any point has nothing to undo but the level.
#include "dll/server/dictopen.h"

#include <array>
#include <cerrno>
#include <list>
#include <memory>
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/base/syscall.h"
#include "dll/ini/ini.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

constexpr int32_t CONTENT_REFUSED = 1;
constexpr int32_t MAX_MODELS = 16;

using NameText = std::array<char, 81>;
using ValueText = std::array<char, 123>;

OwnedText CopyOrThrow(std::string_view text) {
  OwnedText copy = CopyText(text);
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

// ---- The file -------------------------------------------------------------------------------------------------------

/// A dictionary file, open until the end of the scope.
class DictFile {
 public:
  explicit DictFile(const char* fname) : hdl_(IniOpen(fname, "")) {}
  ~DictFile() {
    if (IsOpen()) IniClose(hdl_);
  }
  DictFile(const DictFile&) = delete;
  DictFile& operator=(const DictFile&) = delete;

  bool IsOpen() const { return hdl_ >= 0; }
  int NextSection(NameText& name) const { return IniNextSection(hdl_, name.data(), static_cast<int>(name.size())); }
  bool NextEntry() {
    state_ =
        IniNextEntry(hdl_, item.data(), static_cast<int>(item.size()), value.data(), static_cast<int>(value.size()));
    return state_ == INI_INSIDE;
  }
  /// Whether the last section has no further entry because it could not be read on.
  bool Failed() const { return state_ < 0; }

  // The entry that was read last.
  NameText item;
  ValueText value;

 private:
  int hdl_;
  int state_ = INI_INSIDE;
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

/// False when the section is refused, which has been traced.
bool ReadSection(Dict& dict, DictFile& file, const char* name) {
  const SectionPtr section = AddSection(dict, name);
  Object& object = section->object;
  name = section->section.get();
  while (file.NextEntry()) {
    OwnedText value = CopyOrThrow(file.value.data());
    if (ObSet(object, file.item.data(), value, name) == ATTR_FAILED) return false;
  }
  // Half a section is not judged: the search for the next one says that the file cannot be read on. A model's sections
  // are completed where they are inherited.
  if (file.Failed() || dict.kind == DICT_MODEL) return true;
  return InheritObject(object, name) == 0 && ObCheck(object, name) == 0;
}

void StartDict(std::list<DictPtr>& fresh, const char* id, DictKind kind) {
  fresh.push_back(std::make_shared<Dict>());
  fresh.front()->id = id;
  fresh.front()->kind = kind;
}

/// Reads a whole file into a list of one dictionary. Returns what `rc_p` gets.
int32_t ReadSections(std::list<DictPtr>& fresh, DictFile& file, const char* id, DictKind kind) {
  NameText name;
  int status;
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
      return CONTENT_REFUSED;
  }
  if (status < 0) return status;
  return fresh.empty() ? CONTENT_REFUSED : 0;
}

/// The same, with missing memory as an outcome.
int32_t ReadDict(std::list<DictPtr>& fresh, DictFile& file, const char* id, DictKind kind) {
  try {
    return ReadSections(fresh, file, id, kind);
  } catch (const std::bad_alloc&) {
    return MinusErrno();
  }
}

// ---- Opening --------------------------------------------------------------------------------------------------------

/// Opens a dictionary that is loaded at a further level.
int32_t ShareDict(const DictPtr& dict, int32_t level, IntByReference rc_p) {
  const int32_t added = AddDlgLevel(dict, level);
  if (added == DLG_NO_MEMORY) {
    rc_p.Set(MinusErrno());
    return RESULT_OK;
  }
  if (added != DLG_OK) return RESULT_REFUSED;
  ++dict->instance_cnt;
  rc_p.Set(0);
  DebugPrint(TRACE_DICT, 2, "OpenDict(): id = %s, instance_cnt = %d", dict->id.c_str(), dict->instance_cnt);
  return RESULT_OK;
}

int32_t LoadDict(const char* id, const char* fname, int32_t level, IntByReference rc_p) {
  DictFile file(fname);
  if (!file.IsOpen()) {
    rc_p.Set(MinusErrno());
    return RESULT_OK;
  }
  std::list<DictPtr> fresh;
  const int32_t read = ReadDict(fresh, file, id, level < 0 ? DICT_MODEL : DICT_ORIGINAL);
  rc_p.Set(read);
  if (read != 0) return RESULT_OK;
  if (level >= 0) {
    const int32_t added = AddDlgLevel(fresh.front(), level);
    if (added == DLG_REFUSED) rc_p.Set(CONTENT_REFUSED);
    if (added == DLG_NO_MEMORY) rc_p.Set(MinusErrno());
    if (added != DLG_OK) return added == DLG_NO_MEMORY ? RESULT_OK : RESULT_REFUSED;
  }
  LinkDict(fresh);
  return RESULT_OK;
}

// ---- Inheritance ----------------------------------------------------------------------------------------------------

SectionPtr FindModel(std::string_view name) {
  for (const DictPtr& dict : DictList())
    if (dict->kind == DICT_MODEL)
      if (SectionPtr section = FindSection(*dict, name)) return section;
  return nullptr;
}

}  // namespace

int32_t OpenDict(const char* id, const char* fname, int32_t level, IntByReference rc_p) {
  DebugEntry(TRACE_DICT);
  if (level < 0)
    DebugPrint(TRACE_DICT, 2, "OpenDict(): id='%s' (model dictionary)", id);
  else
    DebugPrint(TRACE_DICT, 2, "OpenDict(): id='%s', level=%d", id, level);
  errno = 0;  // what an earlier call left is not the reason of a failure in this one
  const DictPtr loaded = FindDict(id, level < 0 ? DICT_MODEL : DICT_ORIGINAL);
  if (loaded != nullptr && level >= 0) return ShareDict(loaded, level, rc_p);
  if (loaded != nullptr) {
    RemoveDict(loaded);
    DebugPrint(TRACE_DICT, 2, "OpenDict() warning: model dictionary '%s' reopened", id);
  }
  return LoadDict(id, fname, level, rc_p);
}

int32_t InheritObject(Object& object, const char* section) {
  if (object.model == nullptr) return 0;
  DebugEntry(TRACE_DICT);
  const OwnedText own = std::move(object.model);
  const char* name = own.get();
  for (int32_t depth = 0; depth < MAX_MODELS; ++depth) {
    const SectionPtr model = FindModel(name);
    if (model == nullptr) {
      DebugPrint(TRACE_DICT, 1, "InheritObject() failed: unknown model '%s', section '%s'", name, section);
      return 1;
    }
    if (ObCopy(object, model->object, CopyMode::Missing, name) != ATTR_OK) return 1;
    DebugPrint(TRACE_DICT, 3, "InheritObject(): attributes inherited from '%s', section '%s'", name, section);
    name = model->object.model.get();
    if (name == nullptr) return 0;
  }
  DebugPrint(TRACE_DICT, 1, "InheritObject() failed: inheritance nesting too deep or recursive, section '%s'", section);
  return 1;
}

}  // namespace vorlix
