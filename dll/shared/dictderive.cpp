// Changing the dictionary of one level: the copy that it gets of a dictionary which others use too, and the update of a
// field from an XBUF.
#include <algorithm>
#include <array>
#include <span>

#include "dll/base/debug.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

// Runs a step that allocates for a piece of a dictionary.
template <class Step>
auto MakePiece(const char* piece, Step step) {
  try {
    return step();
  } catch (const std::bad_alloc&) {
    throw HeapOverflow(piece);
  }
}

OwnedText CopyPiece(const char* piece, const OwnedText& text) {
  OwnedText copy = CopyText(CText(text));
  if (copy == nullptr) throw HeapOverflow(piece);
  return copy;
}

void CopyCatalog(Dict& copy, const Dict& dict) {
  MakePiece("catalog", [&] { copy.catalog.reserve(dict.catalog.size()); });
  for (const CatalogEntry& entry : dict.catalog)
    copy.catalog.push_back({CopyPiece("catalog->hdl", entry.hdl), CopyPiece("catalog->pfx", entry.pfx)});
}

void CopyItems(Dict& copy, const Dict& dict) {
  for (const ListItem& item : dict.items) {
    ListItem item_copy;
    item_copy.name = CopyPiece("item->item", item.name);
    MakePiece("item->value", [&] { item_copy.value = item.value; });
    MakePiece("item", [&] { copy.items.Append(std::move(item_copy)); });
  }
}

// False when attributes could not be copied, which has been traced.
bool CopySections(Dict& copy, const Dict& dict) {
  for (const SectionPtr& section : dict.sections) {
    const CText name = section->name;
    if (ObCopy(AddSection(copy, name)->object, section->object, CopyMode::Set, name) != AttrResult::Ok) return false;
  }
  return true;
}

// A copy of all contents in a list of its own; empty when attributes could not be copied. Throws HeapOverflow.
std::list<DictPtr> CopyDict(const Dict& dict) {
  std::list<DictPtr> fresh;
  MakePiece("dict", [&] { fresh.push_back(std::make_shared<Dict>()); });
  Dict& copy = *fresh.front();
  copy.kind = DICT_DERIVED;
  MakePiece("dict->id", [&] { copy.id = dict.id; });
  CopyCatalog(copy, dict);
  CopyItems(copy, dict);
  if (!CopySections(copy, dict)) fresh.clear();
  return fresh;
}

}  // namespace

DictPtr DeriveDict(const DictPtr& dict) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "DeriveDict(id='%s')", dict->id.c_str());
  if (dict->instance_cnt == 1) {
    DebugPrint(TRACE_DICT, 3, "DeriveDict(): original dict derived (instance_cnt=1)");
    dict->kind = DICT_DERIVED;
    return dict;
  }
  try {
    std::list<DictPtr> fresh = CopyDict(*dict);
    if (fresh.empty()) return nullptr;
    LinkDict(fresh);
  } catch (const HeapOverflow& overflow) {
    DebugPrint(TRACE_DICT, 1, "DeriveDict() failed: heap overflow (%s)", overflow.piece);
    return nullptr;
  }
  DebugPrint(TRACE_DICT, 3, "DeriveDict(): original dict copied (instance_cnt=%d)", dict->instance_cnt);
  --dict->instance_cnt;
  return DictList().front();
}

// ---- Updating a field -----------------------------------------------------------------------------------------------

namespace {

// A field as an XBUF describes it: its section's name, and the attributes that the XBUF carries.
struct FieldUpdate {
  std::array<char, SECTION_NAME_SIZE> name;
  Object object;
};

// False when the XBUF or the name is not acceptable, which has been traced.
bool ReadUpdate(FieldUpdate& update, CText hdl, std::string_view xbuf) {
  const size_t length = hdl.View().size();
  if (length + 2 > update.name.size()) {
    DebugPrint(TRACE_DICT, 1, "UpdateDict() failed: handle too long '%s'", hdl.CStr());
    return false;
  }
  std::ranges::copy(hdl.View(), update.name.begin());
  update.name[length] = '.';
  return XbufObSet(update.object, std::span(update.name).subspan(length + 1), xbuf) == AttrResult::Ok;
}

// The section that is to be updated; null when there is none and none may be added, which has been traced.
SectionPtr GetSection(Dict& dict, const char* name, bool strict) {
  if (SectionPtr section = FindSection(dict, name)) {
    DebugPrint(TRACE_DICT, 3, "UpdateDict(): updating section '%s'", name);
    return section;
  }
  if (strict) {
    DebugPrint(TRACE_DICT, 1, "UpdateDict() failed: unknown section '%s'", name);
    return nullptr;
  }
  try {
    SectionPtr section = AddSection(dict, name);
    DebugPrint(TRACE_DICT, 3, "UpdateDict(): new section '%s' added", name);
    return section;
  } catch (const HeapOverflow& overflow) {
    DebugPrint(TRACE_DICT, 1, "UpdateDict() failed: heap overflow (%s)", overflow.piece);
    return nullptr;
  }
}

// Brings the attributes into the dictionary. When that fails, a section that it added is gone again.
bool ApplyUpdate(Dict& dict, const FieldUpdate& update, bool strict) {
  const char* name = update.name.data();
  const size_t section_count = dict.sections.size();
  const SectionPtr section = GetSection(dict, name, strict);
  if (section == nullptr) return false;
  if (ObCopy(section->object, update.object, CopyMode::Set, name) == AttrResult::Ok &&
      ObCheck(section->object, name) == AttrResult::Ok)
    return true;
  if (dict.sections.size() > section_count) dict.sections.RemoveLast();
  return false;
}

}  // namespace

UpdateResult UpdateDict(CText dlgID, std::string_view xbuf, bool strict) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "UpdateDict(dlgID='%s')", dlgID.CStr());
  const FoundDlg found = FindDlg(dlgID);
  if (found.level == nullptr) {
    DebugPrint(TRACE_DICT, 1, "UpdateDict() failed: dialog ID '%s' not found", dlgID.CStr());
    return UpdateResult::Failed;
  }
  FieldUpdate update;
  if (!ReadUpdate(update, found.dialog->hdl, xbuf)) return UpdateResult::Failed;
  const DictPtr shared = found.level->dict;
  const DictPtr derived = DeriveDict(shared);
  if (derived == nullptr) return UpdateResult::Failed;
  if (ApplyUpdate(*derived, update, strict)) {
    found.level->dict = derived;
    return UpdateResult::Ok;
  }
  if (derived != shared) {
    RemoveDict(derived);
    ++shared->instance_cnt;
  }
  return UpdateResult::Failed;
}

}  // namespace vorlix
