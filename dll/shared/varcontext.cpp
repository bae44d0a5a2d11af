// The stack of contexts, the three ways to fill a new one, and the walk.
#include "dll/shared/varcontext.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "dll/base/debug.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/filter.h"
#include "dll/shared/sectionname.h"

namespace vorlix {
namespace {

std::array<VarContext, VAR_STACK_SIZE> saved_contexts;
size_t stack_level = 0;

}  // namespace

// ---- The stack ------------------------------------------------------------------------------------------------------

int32_t VarPush() {
  DebugEntry(TRACE_DICT);
  if (stack_level == VAR_STACK_SIZE) {
    DebugPrint(TRACE_DICT, 1, "VarPush() failed: stack overflow, level=%zu", stack_level);
    return VAR_NO_MEMORY;
  }
  saved_contexts[stack_level++] = std::exchange(CurrVarContext(), {});
  DebugPrint(TRACE_DICT, 3, "VarPush(): stack level = %zu", stack_level);
  return VAR_OK;
}

int32_t VarPop() {
  DebugEntry(TRACE_DICT);
  if (stack_level == 0) {
    DebugPrint(TRACE_DICT, 1, "VarPop() failed: stack underflow, level=%zu", stack_level);
    return VAR_REFUSED;
  }
  CurrVarContext() = std::exchange(saved_contexts[--stack_level], {});
  DebugPrint(TRACE_DICT, 3, "VarPop(): stack level = %zu", stack_level);
  return VAR_OK;
}

int32_t VarFree() {
  DebugEntry(TRACE_DICT);
  CurrVarContext() = {};
  return VarPop();
}

// ---- Opening a set --------------------------------------------------------------------------------------------------

namespace {

/// A dialog, and the name of the operation that fills a set with its fields.
struct Source {
  const char* operation;
  DictPtr dict;
  std::string_view hdl;  // borrows from its level
};

/// False when the dialog is unknown, which has been traced.
bool FindSource(const char* dlgID, Source& source) {
  source.dict = ResolveDlgID(dlgID, source.hdl);
  if (source.dict == nullptr) DebugPrint(TRACE_DICT, 1, "%s(): unknown dlgID [%s]", source.operation, dlgID);
  return source.dict != nullptr;
}

/// Ends the filling of the new context, whose result so far is `result`: gives it up unless it holds something.
int32_t Finish(const Source& source, int32_t result) {
  if (result != VAR_OK) {
    VarFree();
    return result;
  }
  if (!CurrVarContext().list.empty()) return VAR_OK;
  VarPop();
  DebugPrint(TRACE_DICT, 2, "%s() warning: no variable added", source.operation);
  return VAR_NONE;
}

bool FitsItem(std::string_view name) { return std::cmp_less_equal(name.size(), XBUF_NAME_MAX); }

/// Adds a field by a name that fits an item; by its section where that is known.
int32_t AddField(const Source& source, std::string_view name, std::string_view value, const SectionPtr& section) {
  XbufItem item;
  *std::ranges::copy(name, item.name.begin()).out = '\0';
  item.value = value;
  return AddVar(*source.dict, item, section, source.hdl, VarMode::Append);
}

int32_t AddAllFields(const Source& source) {
  const SectionName start{source.hdl, "."};
  const std::string_view prefix = start.View();
  for (SectionPtr section = FindSection(*source.dict, prefix, prefix.size()); section != nullptr;
       section = FindNextSection(*source.dict, *section, prefix, prefix.size())) {
    const std::string_view name = std::string_view(section->section.get()).substr(prefix.size());
    if (!FitsItem(name)) {
      DebugPrint(TRACE_DICT, 1, "%s(): field name too long, section [%s]", source.operation, section->section.get());
      return VAR_REFUSED;
    }
    if (const int32_t result = AddField(source, name, "", section); result != VAR_OK) return result;
  }
  return VAR_OK;
}

int32_t RefuseList(const Source& source, const char* reason, size_t offset) {
  DebugPrint(TRACE_DICT, 1, "%s(): %s, offset=%zu", source.operation, reason, offset);
  return VAR_REFUSED;
}

int32_t AddListedFields(const Source& source, std::string_view list) {
  for (size_t at = 0; at < list.size();) {
    if (list[at] == ',') ++at;
    const std::string_view name = list.substr(at, list.find_first_of(",$", at) - at);
    if (!FitsItem(name)) return RefuseList(source, "field name too long", at + XBUF_NAME_MAX);
    at += name.size();
    if (at < list.size() && list[at] == '$' && ++at < list.size() && list[at] != ',')
      return RefuseList(source, "buffer corrupt", at);
    if (const int32_t result = AddField(source, name, "", nullptr); result != VAR_OK) return result;
  }
  return VAR_OK;
}

}  // namespace

int32_t VarInitXBUF(const char* dlgID, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  if (const int32_t pushed = VarPush(); pushed != VAR_OK) return pushed;
  const int32_t result = VarXBUF(dlgID, xbuf, VarMode::Append);
  if (result == VAR_NONE)
    VarPop();
  else if (result != VAR_OK)
    VarFree();
  return result;
}

int32_t VarInitLIST(const char* dlgID, const char* list) {
  DebugEntry(TRACE_DICT);
  Source source{"VarInitLIST", nullptr, {}};
  if (!FindSource(dlgID, source)) return VAR_REFUSED;
  if (const int32_t pushed = VarPush(); pushed != VAR_OK) return pushed;
  return Finish(source, std::strcmp(list, "*") == 0 ? AddAllFields(source) : AddListedFields(source, list));
}

int32_t VarInitONE(const char* dlgID, const char* name, const char* val) {
  DebugEntry(TRACE_DICT);
  Source source{"VarInitONE", nullptr, {}};
  if (!FindSource(dlgID, source)) return VAR_REFUSED;
  if (!FitsItem(name)) {
    DebugPrint(TRACE_DICT, 1, "VarInitONE(): field name too long [%s]", name);
    return VAR_REFUSED;
  }
  if (const int32_t pushed = VarPush(); pushed != VAR_OK) return pushed;
  return Finish(source, AddField(source, name, val, nullptr));
}

int32_t VarUpdateXBUF(const char* dlgID, std::string_view xbuf) {
  DebugEntry(TRACE_DICT);
  return VarXBUF(dlgID, xbuf, VarMode::Replace);
}

// ---- The walk -------------------------------------------------------------------------------------------------------

namespace {

/// The current variable; null when the walk has not begun.
Variable* CurrVar() {
  VarContext& context = CurrVarContext();
  return context.curr_var != VarList::NONE ? &context.list[context.curr_var] : nullptr;
}

/// `position`, or NONE when the list does not go so far.
size_t PositionOrNone(const VarList& list, size_t position) {
  return position < list.size() ? position : VarList::NONE;
}

}  // namespace

int32_t VarInitAccess(const char* filterName) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "VarInitAccess(filterName='%s')", filterName);
  VarContext& context = CurrVarContext();
  context.curr_var = context.next = VarList::NONE;
  context.filter = FindVarFilter(filterName);
  if (*filterName == '\0') {
    DebugPrint(TRACE_DICT, 3, "VarInitAccess(): filter disabled");
  } else if (context.filter != nullptr) {
    DebugPrint(TRACE_DICT, 3, "VarInitAccess(): filter '%s' enabled", filterName);
  } else {
    DebugPrint(TRACE_DICT, 1, "VarInitAccess(): filter '%s' not found", filterName);
    return VAR_REFUSED;
  }
  context.curr_var = context.next = PositionOrNone(context.list, 0);
  return VAR_OK;
}

int32_t VarGetNext() {
  DebugEntry(TRACE_DICT);
  VarContext& context = CurrVarContext();
  if (context.curr_var == VarList::NONE) {
    DebugPrint(TRACE_DICT, 1, "VarGetNext(): currVar not set");
    return VAR_REFUSED;
  }
  int32_t result = FILTER_SKIP;
  while (result == FILTER_SKIP) {
    context.curr_var = context.next;
    if (context.curr_var == VarList::NONE) return VAR_NONE;
    context.next = PositionOrNone(context.list, context.curr_var + 1);
    result = context.filter != nullptr ? context.filter(context.list[context.curr_var]) : FILTER_DELIVER;
  }
  if (result != FILTER_DELIVER) VarFree();
  return result;
}

SectionPtr VarCurrSection() {
  if (const Variable* variable = CurrVar(); variable != nullptr) return variable->section;
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 1, "VarCurrSection(): currVar not set");
  return nullptr;
}

std::optional<std::string_view> VarCurrValue() {
  if (const Variable* variable = CurrVar(); variable != nullptr) return TextOf(variable->value);
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 1, "VarCurrValue(): currVar not set");
  return std::nullopt;
}

int32_t VarSetCurrValue(const char* text) {
  DebugEntry(TRACE_DICT);
  DebugPrint(TRACE_DICT, 3, "VarSetCurrValue(%s)", text);
  Variable* const variable = CurrVar();
  if (variable == nullptr) {
    DebugPrint(TRACE_DICT, 1, "VarSetCurrValue(): currVar not set");
    return VAR_REFUSED;
  }
  if (SetVarValue(*variable, text)) return VAR_OK;
  DebugPrint(TRACE_DICT, 1, "VarSetCurrValue(%s) failed: heap overflow", variable->section->section.get());
  return VAR_NO_MEMORY;
}

}  // namespace vorlix
