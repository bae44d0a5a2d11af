// dict_Dump: dictionaries as a listing in the trace. All its lines are written whatever the trace level is.
#include <string_view>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

constexpr int ALWAYS = 0;

const char* Remark(const Dict& dict) {
  switch (dict.kind) {
    case DICT_DERIVED: return " (derived)";
    case DICT_MODEL: return " (model dictionary)";
    default: return "";
  }
}

void DumpCount(const Dict& dict) {
  DebugPrint(TRACE_DICT, ALWAYS, "instance_cnt=%d%s", dict.instance_cnt, Remark(dict));
}

void DumpAttributes(const Object& object) {
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(object, row, attr); ++row)
    DebugPrint(TRACE_DICT, ALWAYS, "  %-16.16s [%s]", attr.item.CStr(), attr.value.CStr());
}

void DumpAllSections(const Dict& dict) {
  DebugPrint(TRACE_DICT, ALWAYS, "%s", "");
  DebugPrint(TRACE_DICT, ALWAYS, "Dump of dict=%s, all sections:", dict.id.c_str());
  DumpCount(dict);
  for (const SectionPtr& section : dict.sections) {
    DebugPrint(TRACE_DICT, ALWAYS, " section [%s]", section->name.get());
    DumpAttributes(section->object);
  }
  if (dict.sections.empty()) DebugPrint(TRACE_DICT, ALWAYS, " this dictionary does not contain any sections");
}

// Sections can have the same name.
void DumpField(const Dict& dict, CText hdl, const char* field) {
  DebugPrint(TRACE_DICT, ALWAYS, "%s", "");
  DebugPrint(TRACE_DICT, ALWAYS, "Dump of dict=%s, section [%s.%s]:", dict.id.c_str(), hdl.CStr(), field);
  DumpCount(dict);
  const SectionName name{hdl, ".", field};
  if (FindSection(dict, name.View()) == nullptr)
    DebugPrint(TRACE_DICT, ALWAYS, " section [%s.%s] not found", hdl.CStr(), field);
  for (const SectionPtr& section : dict.sections)
    if (EqualNoCase(section->name.get(), name.View())) DumpAttributes(section->object);
}

void DumpOne(const Dict& dict, CText hdl, const char* field) {
  if (*field == '\0')
    DumpAllSections(dict);
  else
    DumpField(dict, hdl, field);
}

// Dumps a field, or all of them when `field` is empty, of one dialog, or of all dictionaries when `dlgID` is empty.
void DumpDict(const char* dlgID, const char* field) {
  DebugEntry(TRACE_DICT);
  const bool is_all = *dlgID == '\0';
  const ResolvedDlg chosen = is_all ? ResolvedDlg() : ResolveDlgID(dlgID);
  if (is_all && DictList().empty()) return DebugPrint(TRACE_DICT, ALWAYS, "DumpDict(): no dictionaries available");
  if (!is_all && chosen.dict == nullptr)
    return DebugPrint(TRACE_DICT, ALWAYS, "DumpDict() failed: unknown dlgID '%s'", dlgID);
  if (*field != '\0' && chosen.hdl.empty())
    return DebugPrint(TRACE_DICT, ALWAYS, "DumpDict() failed: missing dlgID, cannot resolve field name");
  if (is_all)
    for (const DictPtr& dict : DictList()) DumpOne(*dict, chosen.hdl, field);
  else
    DumpOne(*chosen.dict, chosen.hdl, field);
  DebugPrint(TRACE_DICT, ALWAYS, "%s", "");
}

}  // namespace

int32_t dict_Dump(zString dlgID, zString fldName) {
  DumpDict(dlgID, fldName);
  return RESULT_OK;
}

}  // namespace vorlix
