// Section by section: its lines are read, what its models have is added, and the whole is checked, before the next one
// is looked at. A dictionary stands in a list of its own until it is complete.
#include "dll/shared/dictfile.h"

#include <array>
#include <memory>
#include <new>
#include <utility>

#include "dll/base/debug.h"
#include "dll/ini/ini.h"

namespace vorlix {
namespace {

constexpr int32_t MAX_MODELS = 16;

using NameText = std::array<char, DICT_NAME_SIZE>;
using ValueText = std::array<char, DICT_VALUE_SIZE>;

OwnedText CopyOrThrow(std::string_view text) {
  OwnedText copy = CopyText(text);
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

// ---- Inheritance ----------------------------------------------------------------------------------------------------

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
  DictFile(CText fname, ReadObserver* observer) : hdl_(IniOpen(fname.CStr(), "")), observer_(observer) {}
  ~DictFile() {
    if (IsOpen()) IniClose(hdl_);
  }
  DictFile(const DictFile&) = delete;
  DictFile& operator=(const DictFile&) = delete;

  bool IsOpen() const { return hdl_ != NO_INI_HANDLE; }
  IniState NextSection(NameText& name) {
    const IniState state = IniNextSection(hdl_, name.data(), static_cast<int>(name.size()));
    if (state == INI_INSIDE) TellLine();
    return state;
  }
  bool NextEntry() {
    state_ =
        IniNextEntry(hdl_, item.data(), static_cast<int>(item.size()), value.data(), static_cast<int>(value.size()));
    if (state_ == INI_INSIDE) TellLine();
    return state_ == INI_INSIDE;
  }
  // Whether the last section has no further entry because it could not be read on.
  bool Failed() const { return state_ == INI_FAILED; }

  ReadObserver* Observer() const { return observer_; }

  // The entry that was read last.
  NameText item;
  ValueText value;

 private:
  void TellLine() const {
    if (observer_ != nullptr) observer_->OnLine(IniOffset(hdl_));
  }

  int hdl_;
  ReadObserver* observer_;
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

// False when one of the lines is refused, which has been traced.
bool ReadEntries(Object& object, DictFile& file, CText section) {
  bool is_good = true;
  while (file.NextEntry()) {
    is_good = ObSet(object, file.item.data(), CopyOrThrow(file.value.data()), section) == AttrResult::Ok && is_good;
    if (!is_good && file.Observer() == nullptr) return false;
  }
  return is_good;
}

// The same for the whole object. An observer may put its faults right one by one, to learn of the next.
bool JudgeObject(Object& object, ReadObserver* observer, CText section) {
  if (observer == nullptr) return InheritObject(object, section) && ObCheck(object, section) == AttrResult::Ok;
  observer->OnSectionEnd();
  const bool is_complete = InheritObject(object, section);
  bool is_checked = ObCheck(object, section) == AttrResult::Ok;
  const bool is_good = is_complete && is_checked;
  while (!is_checked && observer->Cure(object)) is_checked = ObCheck(object, section) == AttrResult::Ok;
  return is_good;
}

// Half a section is not judged: the search for the next one says that the file cannot be read on. A model's sections
// are completed where they are inherited.
bool ReadSection(Dict& dict, DictFile& file, const char* name) {
  const SectionPtr section = AddSection(dict, name);
  const CText own_name = section->name;
  const bool is_good = ReadEntries(section->object, file, own_name);
  if (!is_good && file.Observer() == nullptr) return false;
  if (file.Failed() || dict.kind == DICT_MODEL) return is_good;
  return JudgeObject(section->object, file.Observer(), own_name) && is_good;
}

void StartDict(std::list<DictPtr>& fresh, const char* id, DictKind kind) {
  fresh.push_back(std::make_shared<Dict>());
  fresh.front()->id = id;
  fresh.front()->kind = kind;
}

FileCode ReadSections(std::list<DictPtr>& fresh, DictFile& file, const char* id, DictKind kind) {
  NameText name;
  IniState status;
  FileCode code = FILE_OK;
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
      code = FILE_REFUSED;
    if (code != FILE_OK && file.Observer() == nullptr) return code;
  }
  if (status == INI_FAILED) return MinusErrno();
  return fresh.empty() ? FILE_REFUSED : code;
}

}  // namespace

FileCode ReadDictFile(std::list<DictPtr>& fresh, CText fname, const char* id, DictKind kind, ReadObserver* observer) {
  DictFile file(fname, observer);
  if (!file.IsOpen()) return MinusErrno();
  try {
    return ReadSections(fresh, file, id, kind);
  } catch (const std::bad_alloc&) {
    return MinusErrno();
  }
}

SectionPtr FindModel(std::string_view name) {
  for (const DictPtr& dict : DictList())
    if (dict->kind == DICT_MODEL)
      if (SectionPtr section = FindSection(*dict, name)) return section;
  return nullptr;
}

}  // namespace vorlix
