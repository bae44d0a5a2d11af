// The dictionary list, the lookups over sections, and the release of dictionaries.
#include "dll/shared/dictkrnl.h"

#include <algorithm>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

std::list<DictPtr> dicts;

SectionPtr SectionAt(const Dict& dict, size_t position) {
  return position < dict.sections.size() ? dict.sections[position] : nullptr;
}

// The first field of the dialog from a position on.
SectionPtr FieldFrom(const Dict& dict, size_t position, std::string_view handle) {
  while (position < dict.sections.size() && !BelongsTo(*dict.sections[position], handle)) ++position;
  return SectionAt(dict, position);
}

}  // namespace

const std::list<DictPtr>& DictList() { return dicts; }

void LinkDict(std::list<DictPtr>& fresh) noexcept { dicts.splice(dicts.begin(), fresh); }

DictPtr FindDict(std::string_view id, DictKind kind) {
  const auto found = std::find_if(dicts.begin(), dicts.end(),
                                  [&](const DictPtr& dict) { return dict->kind == kind && EqualNoCase(dict->id, id); });
  return found != dicts.end() ? *found : nullptr;
}

SectionPtr FindSection(const Dict& dict, std::string_view name) { return SectionAt(dict, dict.sections.Find(name)); }

SectionPtr FirstField(const Dict& dict, std::string_view handle) {
  // Fields are grouped by what stands before the first ".", which may be less than a handle.
  const bool is_group = handle.find('.') == std::string_view::npos;
  return is_group ? SectionAt(dict, dict.sections.FindGroup(handle)) : FieldFrom(dict, 0, handle);
}

SectionPtr NextField(const Dict& dict, const Section& after, std::string_view handle) {
  return FieldFrom(dict, after.position + 1, handle);
}

SectionPtr AddSection(Dict& dict, std::string_view name) {
  // The name first: so it comes to lie beside the start of its section, and a search reads both at once.
  OwnedText own_name = CopyText(name);
  if (own_name == nullptr) throw HeapOverflow("section->section");
  std::transform(name.begin(), name.end(), own_name.get(), FoldCase);
  try {
    SectionPtr section = std::make_shared<Section>();
    section->name = std::move(own_name);
    dict.sections.Append(section);
    return section;
  } catch (const std::bad_alloc&) {
    throw HeapOverflow("section");
  }
}

bool FreeDict(Dict& dict) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "FreeDict(id='%s') instance=%d", dict.id.c_str(), dict.instance_cnt);
  if (--dict.instance_cnt > 0) {
    DebugPrint(TRACE_DICT, 3, "FreeDict(): instance_cnt decremented (%d)", dict.instance_cnt);
    return false;
  }
  Dict empty;
  empty.instance_cnt = dict.instance_cnt;
  empty.kind = dict.kind;
  dict = std::move(empty);
  DebugPrint(TRACE_DICT, 3, "FreeDict(): dictionary freed");
  return true;
}

void RemoveDict(const DictPtr& dict) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "RemoveDict(id='%s')", dict->id.c_str());
  if (FreeDict(*dict)) dicts.erase(std::find(dicts.begin(), dicts.end(), dict));
}

void CloseDict(int32_t level) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "CloseDict(level=%d)", level);
  // A level keeps its record, even an empty one, until it goes itself: the walk may pass a dictionary twice.
  for (int32_t idx = 0; const DictPtr dict = GetDlgDict(std::max(level, 0), idx); ++idx) RemoveDict(dict);
  FreeDlgLevel(level);
}

void CloseAllDicts() {
  DebugEntry(TRACE_DICT);
  while (!dicts.empty()) {
    dicts.front()->instance_cnt = 1;
    RemoveDict(dicts.front());
  }
  FreeDlgLevel(-1);
}

}  // namespace vorlix
