// The list of variables, and its two ways: from the items of an XBUF to variables, and back.
#include "dll/shared/dictvar.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <new>
#include <system_error>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

// What parts the name of an array from the index of the element.
constexpr std::string_view ELEMENT_MARK = "__";

}  // namespace

// ---- The list -------------------------------------------------------------------------------------------------------

Variable& VarList::Append(SectionPtr section) {
  const auto [at, is_first] = first_.try_emplace(section.get(), variables_.size());
  try {
    variables_.push_back({std::move(section), nullptr});
    return variables_.back();
  } catch (...) {
    if (is_first) first_.erase(at);
    throw;
  }
}

size_t VarList::Find(const SectionPtr& section) const {
  const auto found = first_.find(section.get());
  return found != first_.end() ? found->second : NONE;
}

bool SetVarValue(Variable& variable, std::string_view value) noexcept {
  variable.value.reset();
  value = BeforeNul(value);
  if (value.empty()) return true;
  variable.value = CopyText(value);
  return variable.value != nullptr;
}

VarContext& CurrVarContext() {
  static VarContext current;
  return current;
}

// ---- From an XBUF ---------------------------------------------------------------------------------------------------

namespace {

SectionPtr FindItem(const Dict& dict, const XbufItem& item, std::string_view hdl) {
  std::array<char, 16> element{};
  if (item.is_element) std::snprintf(element.data(), element.size(), "%s%d", ELEMENT_MARK.data(), item.index);
  return FindSection(dict, SectionName{hdl, ".", item.name.data(), element.data()}.View());
}

// Appends a variable; null when there is no memory for it.
Variable* AppendVar(const SectionPtr& section) {
  try {
    return &CurrVarContext().list.Append(section);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

VarResult NoMemory(const char* name, int step) {
  DebugPrint(TRACE_DICT, 1, "AddVar(%s) failed: heap overflow (%d)", name, step);
  return VAR_NO_MEMORY;
}

}  // namespace

VarResult AddVar(const SectionPtr& field, const XbufItem& item, VarMode mode) {
  const char* const name = item.name.data();
  VarList& list = CurrVarContext().list;
  const size_t known = mode == VarMode::Replace ? list.Find(field) : VarList::NONE;
  Variable* const variable = known != VarList::NONE ? &list[known] : AppendVar(field);
  if (variable == nullptr) return NoMemory(name, 1);
  if (!SetVarValue(*variable, item.value)) return NoMemory(name, 2);
  DebugPrint(TRACE_DICT, 3, "AddVar(%s): %s", name, known != VarList::NONE ? "value replaced" : "added to list");
  return VAR_OK;
}

VarResult AddVarByName(const Dict& dict, std::string_view hdl, const XbufItem& item, VarMode mode) {
  if (const SectionPtr field = FindItem(dict, item, hdl)) return AddVar(field, item, mode);
  DebugPrint(TRACE_DICT, 3, "AddVar(%s): not found in dict", item.name.data());
  return VAR_OK;
}

VarResult VarXBUF(CText dlgID, std::string_view xbuf, VarMode mode) {
  const ResolvedDlg dlg = ResolveDlgID(dlgID);
  if (dlg.dict == nullptr) {
    DebugPrint(TRACE_DICT, 1, "VarXBUF(): unknown dlgID [%s]", dlgID.CStr());
    return VAR_REFUSED;
  }
  XbufReader reader(xbuf);
  XbufItem item;
  XbufReader::Step step;
  while ((step = reader.Next(item)) == XbufReader::Step::Item)
    if (const VarResult result = AddVarByName(*dlg.dict, dlg.hdl, item, mode); result != VAR_OK) return result;
  if (step == XbufReader::Step::Corrupt) {
    DebugPrint(TRACE_DICT, 1, "VarXBUF(): buffer corrupt (%d), offset=%lld", int{reader.Fault()},
               static_cast<long long>(reader.Offset()));
    return VAR_CORRUPT;
  }
  if (!CurrVarContext().list.empty()) return VAR_OK;
  DebugPrint(TRACE_DICT, 2, "VarXBUF() warning: no variable added");
  return VAR_NONE;
}

// ---- To an XBUF -----------------------------------------------------------------------------------------------------

namespace {

// The XBUF types by FieldType. A field of a type that only the host knows is a text.
constexpr char XBUF_TYPES[] = {
    'X',
#define FIELD_TYPE(name, type, ...) type,
#include "dll/shared/dicttypes.def"
};

// Takes the index of an element off the name, when it has one. An index that is too large for one is part of the name.
void CutIndex(VarName& real) {
  const size_t digits = real.name.find_last_not_of("0123456789") + 1;
  if (digits == real.name.size() || digits <= ELEMENT_MARK.size()) return;
  const std::string_view array = real.name.substr(0, digits - ELEMENT_MARK.size());
  if (real.name.substr(array.size(), ELEMENT_MARK.size()) != ELEMENT_MARK) return;
  int32_t index;
  const char* const end = real.name.data() + real.name.size();
  if (std::from_chars(real.name.data() + digits, end, index).ec != std::errc()) return;
  real.name = array;
  real.index = index;
}

}  // namespace

VarResult VarRealName(const Section& section, VarName& real) {
  const std::string_view name = section.name.get();
  const size_t dot = name.find('.');
  if (dot == std::string_view::npos) {
    DebugEntry(TRACE_DICT);
    DebugPrint(TRACE_DICT, 1, "VarRealName(): invalid section name [%s]", section.name.get());
    return VAR_REFUSED;
  }
  real = {name.substr(dot + 1), XBUF_TYPES[section.object.ftyp], 0};
  CutIndex(real);
  return VAR_OK;
}

VarResult VarWriteXBUF(char* buf, int64_t room, int64_t& length) {
  XbufWriter writer{buf, room};
  length = 0;
  for (const Variable& variable : CurrVarContext().list) {
    VarName real;
    if (VarRealName(*variable.section, real) != VAR_OK) return VAR_REFUSED;
    if (!writer.Put(nullptr, real.name, real.type, CText(variable.value), real.index)) return VAR_NO_ROOM;
    length = writer.length;
  }
  if (!writer.End()) return VAR_NO_ROOM;
  length = writer.length;
  return VAR_OK;
}

}  // namespace vorlix
