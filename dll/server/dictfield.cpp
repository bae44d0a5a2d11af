// The calls that read the dictionary of a dialog: its list, and its fields, each packed as an XBUF.
#include <string_view>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"
#include "dll/shared/sectionname.h"
#include "dll/shared/xpack.h"

namespace vorlix {
namespace {

/// A dialog as calls address it.
struct Dialog {
  DictPtr dict;          // null when it is unknown, which has been traced
  std::string_view hdl;  // borrows from its level

  SectionName Prefix() const { return {hdl, "."}; }
};

Dialog FindDialog(const char* call, const char* dlgID) {
  Dialog dialog;
  dialog.dict = ResolveDlgID(dlgID, dialog.hdl);
  if (dialog.dict == nullptr) DebugPrint(TRACE_DICT, 1, "%s() failed: unknown dlgID '%s'", call, dlgID);
  return dialog;
}

/// The next section in the walk of the dictionary; null at the end, from where the walk starts again.
const Section* NextSection(Dict& dict) {
  if (dict.cursor < dict.sections.size()) return dict.sections[dict.cursor++].get();
  dict.cursor = 0;
  return nullptr;
}

}  // namespace

int32_t dict_List(zString dlgID, zString item, Out<String> buf) {
  const Dialog dialog = FindDialog("dict_List", dlgID);
  if (dialog.dict == nullptr) return RESULT_REFUSED;
  buf.len = 0;
  const auto& items = dialog.dict->items;
  const size_t found = items.Find(item);
  return found < items.size() ? DllStrFromC(items[found].value, buf) : RESULT_OK;
}

int32_t dict_First(zString dlgID) {
  const Dialog dialog = FindDialog("dict_First", dlgID);
  if (dialog.dict == nullptr) return RESULT_REFUSED;
  dialog.dict->cursor = 0;
  return RESULT_OK;
}

int32_t dict_Next(zString dlgID, Out<String> xbuf, Out<IntByReference> rc_p) {
  rc_p.Set(0);
  xbuf.len = 0;
  const Dialog dialog = FindDialog("dict_Next", dlgID);
  if (dialog.dict == nullptr) return RESULT_REFUSED;
  const SectionName prefix = dialog.Prefix();
  while (const Section* section = NextSection(*dialog.dict))
    if (StartsWithNoCase(section->section.get(), prefix.View())) return xpack_dict(*section, xbuf);
  rc_p.Set(1);
  return RESULT_OK;
}

int32_t dict_Get(zString dlgID, zString name, Out<String> xbuf) {
  xbuf.len = 0;
  const Dialog dialog = FindDialog("dict_Get", dlgID);
  if (dialog.dict == nullptr) return RESULT_REFUSED;
  const SectionPtr section = FindSection(*dialog.dict, SectionName{dialog.hdl, ".", name}.View());
  return section != nullptr ? xpack_dict(*section, xbuf) : RESULT_OK;
}

int32_t dict_GetByKey(zString dlgID, zString key_item, zString key_value, Out<String> xbuf) {
  DebugEntry(TRACE_DICT);
  xbuf.len = 0;
  const Dialog dialog = FindDialog("dict_GetByKey", dlgID);
  if (dialog.dict == nullptr) return RESULT_REFUSED;
  const SectionName prefix = dialog.Prefix();
  const std::string_view start = prefix.View();
  SectionPtr section = FindSection(*dialog.dict, start, start.size());
  if (section == nullptr) return RESULT_OK;
  const int32_t row = ObFindItem(key_item);
  if (row < 0) return RESULT_REFUSED;
  for (; section != nullptr; section = FindNextSection(*dialog.dict, *section, start, start.size())) {
    AttrText attr;
    ObGetIdx(section->object, row, attr);
    if (EqualNoCase(attr.value, key_value)) return xpack_dict(*section, xbuf);
  }
  return RESULT_OK;
}

}  // namespace vorlix
