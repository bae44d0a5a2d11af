// The stack of contexts, the three ways to fill a new one, the filters, and the walk.
#include "dll/shared/varcontext.h"

#include <algorithm>
#include <array>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/fielddisplay.h"

namespace vorlix {
namespace {

std::array<VarContext, VAR_STACK_SIZE> saved_contexts;
size_t stack_level = 0;

// What comes of giving a set up does not count: the reason to do so is the result.
void GiveUp(VarResult) {}

}  // namespace

// ---- The stack ------------------------------------------------------------------------------------------------------

VarResult VarPush() {
  DebugEntry(TRACE_DICT);
  if (stack_level == VAR_STACK_SIZE) {
    DebugPrint(TRACE_DICT, 1, "VarPush() failed: stack overflow, level=%zu", stack_level);
    return VAR_NO_MEMORY;
  }
  saved_contexts[stack_level++] = std::exchange(CurrVarContext(), {});
  DebugPrint(TRACE_DICT, 3, "VarPush(): stack level = %zu", stack_level);
  return VAR_OK;
}

VarResult VarPop() {
  DebugEntry(TRACE_DICT);
  if (stack_level == 0) {
    DebugPrint(TRACE_DICT, 1, "VarPop() failed: stack underflow, level=%zu", stack_level);
    return VAR_REFUSED;
  }
  CurrVarContext() = std::exchange(saved_contexts[--stack_level], {});
  DebugPrint(TRACE_DICT, 3, "VarPop(): stack level = %zu", stack_level);
  return VAR_OK;
}

VarResult VarFree() {
  DebugEntry(TRACE_DICT);
  CurrVarContext() = {};
  return VarPop();
}

// ---- Opening a set --------------------------------------------------------------------------------------------------

namespace {

// A dialog, and the name of the operation that fills a set with its fields.
struct Source {
  const char* operation;
  ResolvedDlg dlg;
};

// Without a dictionary when the dialog is unknown, which has been traced.
Source FindSource(const char* operation, CText dlgID) {
  Source source{operation, ResolveDlgID(dlgID)};
  if (source.dlg.dict == nullptr) DebugPrint(TRACE_DICT, 1, "%s(): unknown dlgID [%s]", operation, dlgID.CStr());
  return source;
}

// Ends the filling of the new context, whose result so far is `result`: gives it up unless it holds something.
VarResult Finish(const Source& source, VarResult result) {
  if (result != VAR_OK) {
    GiveUp(VarFree());
    return result;
  }
  if (!CurrVarContext().list.empty()) return VAR_OK;
  GiveUp(VarPop());
  DebugPrint(TRACE_DICT, 2, "%s() warning: no variable added", source.operation);
  return VAR_NONE;
}

bool FitsItem(std::string_view name) { return std::cmp_less_equal(name.size(), XBUF_NAME_MAX); }

// An item of a name that fits one.
XbufItem MakeItem(std::string_view name, std::string_view value) {
  XbufItem item;
  *std::ranges::copy(name, item.name.begin()).out = '\0';
  item.value = value;
  return item;
}

VarResult AddByName(const Source& source, std::string_view name, std::string_view value) {
  return AddVarByName(*source.dlg.dict, source.dlg.hdl, MakeItem(name, value), VarMode::Append);
}

VarResult AddAllFields(const Source& source) {
  const auto& [dict, hdl] = source.dlg;
  for (SectionPtr section = FirstField(*dict, hdl); section != nullptr; section = NextField(*dict, *section, hdl)) {
    const CText name = CText(section->name).From(hdl.View().size() + 1);
    if (!FitsItem(name)) {
      DebugPrint(TRACE_DICT, 1, "%s(): field name too long, section [%s]", source.operation, section->name.get());
      return VAR_REFUSED;
    }
    if (const VarResult result = AddVar(section, MakeItem(name, ""), VarMode::Append); result != VAR_OK) return result;
  }
  return VAR_OK;
}

VarResult RefuseList(const Source& source, const char* reason, size_t offset) {
  DebugPrint(TRACE_DICT, 1, "%s(): %s, offset=%zu", source.operation, reason, offset);
  return VAR_REFUSED;
}

VarResult AddListedFields(const Source& source, std::string_view list) {
  for (size_t at = 0; at < list.size();) {
    if (list[at] == ',') ++at;
    const std::string_view name = list.substr(at, list.find_first_of(",$", at) - at);
    if (!FitsItem(name)) return RefuseList(source, "field name too long", at + XBUF_NAME_MAX);
    at += name.size();
    if (at < list.size() && list[at] == '$' && ++at < list.size() && list[at] != ',')
      return RefuseList(source, "buffer corrupt", at);
    if (const VarResult result = AddByName(source, name, ""); result != VAR_OK) return result;
  }
  return VAR_OK;
}

}  // namespace

VarResult VarInitXBUF(CText dlgID, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  if (const VarResult pushed = VarPush(); pushed != VAR_OK) return pushed;
  const VarResult result = VarXBUF(dlgID, xbuf, VarMode::Append);
  if (result == VAR_NONE)
    GiveUp(VarPop());
  else if (result != VAR_OK)
    GiveUp(VarFree());
  return result;
}

VarResult VarInitLIST(CText dlgID, CText list) {
  DebugEntry(TRACE_DICT);
  const Source source = FindSource("VarInitLIST", dlgID);
  if (source.dlg.dict == nullptr) return VAR_REFUSED;
  if (const VarResult pushed = VarPush(); pushed != VAR_OK) return pushed;
  return Finish(source, list.View() == "*" ? AddAllFields(source) : AddListedFields(source, list));
}

VarResult VarInitONE(CText dlgID, CText name, CText val) {
  DebugEntry(TRACE_DICT);
  const Source source = FindSource("VarInitONE", dlgID);
  if (source.dlg.dict == nullptr) return VAR_REFUSED;
  if (!FitsItem(name)) {
    DebugPrint(TRACE_DICT, 1, "VarInitONE(): field name too long [%s]", name.CStr());
    return VAR_REFUSED;
  }
  if (const VarResult pushed = VarPush(); pushed != VAR_OK) return pushed;
  return Finish(source, AddByName(source, name, val));
}

VarResult VarUpdateXBUF(CText dlgID, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  return VarXBUF(dlgID, xbuf, VarMode::Replace);
}

// ---- Filters --------------------------------------------------------------------------------------------------------

namespace {

VarResult DeliverIf(bool delivered) { return delivered ? VAR_OK : VAR_SKIP; }

VarResult Format(Variable& variable) {
  FieldBuffer shown;
  if (!FmtDisplay(shown, variable.section->object, CText(variable.value).CStr())) return VAR_OK;
  return VarSetCurrValue(shown.CStr());
}

VarResult FormatHook(Variable& variable) { return DeliverIf(variable.section->object.ftyp == FT_NONE); }

VarResult DefaultHook(Variable& variable) {
  const CText by_default = variable.section->object.default_value;
  const VarResult result = VarSetCurrValue(by_default);
  return result == VAR_OK ? DeliverIf(by_default.View().starts_with('$')) : result;
}

// Delivers fields that have a text attribute.
template <OwnedText Object::*Member>
VarResult AttributeHook(Variable& variable) {
  return DeliverIf(variable.section->object.*Member != nullptr);
}

struct FilterRow {
  std::string_view name;
  VarFilter filter;
};

constexpr FilterRow FILTERS[] = {
    {"format", Format},
    {"fmt_hook", FormatHook},
    {"def_hook", DefaultHook},
    {"out_hook", AttributeHook<&Object::output>},
    {"load_hook", AttributeHook<&Object::load>},
    {"init_hook", AttributeHook<&Object::init>},
};

// The filter of this name, without regard to case; null when there is none.
VarFilter FindVarFilter(std::string_view name) {
  for (const FilterRow& row : FILTERS)
    if (EqualNoCase(row.name, name)) return row.filter;
  return nullptr;
}

}  // namespace

// ---- The walk -------------------------------------------------------------------------------------------------------

namespace {

// The current variable; null when the walk has not begun.
Variable* CurrVar() {
  VarContext& context = CurrVarContext();
  return context.curr_var != VarList::NONE ? &context.list[context.curr_var] : nullptr;
}

// `position`, or NONE when the list does not go so far.
size_t PositionOrNone(const VarList& list, size_t position) {
  return position < list.size() ? position : VarList::NONE;
}

}  // namespace

VarResult VarInitAccess(CText filterName) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "VarInitAccess(filterName='%s')", filterName.CStr());
  VarContext& context = CurrVarContext();
  context.curr_var = context.next = VarList::NONE;
  context.filter = FindVarFilter(filterName);
  if (filterName.empty()) {
    DebugPrint(TRACE_DICT, 3, "VarInitAccess(): filter disabled");
  } else if (context.filter != nullptr) {
    DebugPrint(TRACE_DICT, 3, "VarInitAccess(): filter '%s' enabled", filterName.CStr());
  } else {
    DebugPrint(TRACE_DICT, 1, "VarInitAccess(): filter '%s' not found", filterName.CStr());
    return VAR_REFUSED;
  }
  context.curr_var = context.next = PositionOrNone(context.list, 0);
  return VAR_OK;
}

VarResult VarGetNext() {
  DebugEntry(TRACE_DICT);
  VarContext& context = CurrVarContext();
  if (context.curr_var == VarList::NONE) {
    DebugPrint(TRACE_DICT, 1, "VarGetNext(): currVar not set");
    return VAR_REFUSED;
  }
  VarResult result = VAR_SKIP;
  while (result == VAR_SKIP) {
    context.curr_var = context.next;
    if (context.curr_var == VarList::NONE) return VAR_NONE;
    context.next = PositionOrNone(context.list, context.curr_var + 1);
    result = context.filter != nullptr ? context.filter(context.list[context.curr_var]) : VAR_OK;
  }
  if (result != VAR_OK) GiveUp(VarFree());
  return result;
}

SectionPtr VarCurrSection() {
  if (const Variable* variable = CurrVar(); variable != nullptr) return variable->section;
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 1, "VarCurrSection(): currVar not set");
  return nullptr;
}

std::optional<CText> VarCurrValue() {
  if (const Variable* variable = CurrVar(); variable != nullptr) return CText(variable->value);
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 1, "VarCurrValue(): currVar not set");
  return std::nullopt;
}

VarResult VarSetCurrValue(CText text) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "VarSetCurrValue(%s)", text.CStr());
  Variable* const variable = CurrVar();
  if (variable == nullptr) {
    DebugPrint(TRACE_DICT, 1, "VarSetCurrValue(): currVar not set");
    return VAR_REFUSED;
  }
  if (SetVarValue(*variable, text)) return VAR_OK;
  DebugPrint(TRACE_DICT, 1, "VarSetCurrValue(%s) failed: heap overflow", variable->section->name.get());
  return VAR_NO_MEMORY;
}

}  // namespace vorlix
