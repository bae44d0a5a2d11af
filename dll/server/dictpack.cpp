// The calls that pack for dll_SendNext: a dictionary, or a text of the host's.
//
// A dictionary is "D", its id as a counted text, the number of its holders and the level that the host gives. One that
// has no other holder follows with its contents, as counted texts: "C", handle and prefix for each line of the catalog,
// then "S" and the name for each section, with "I", item name and value for each of its attributes that says something.
#include <string_view>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/csdx.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"

namespace vorlix {
namespace {

void PutSection(const Section& section) {
  CSDX_PutBytes("S");
  CSDX_PutField(section.name.get());
  AttrText attr;
  for (int32_t row = 0; ObGetIdx(section.object, row, attr); ++row) {
    if (attr.value.empty() || (attr.type == 'N' && attr.value.View() == "0")) continue;
    CSDX_PutBytes("I");
    CSDX_PutField(attr.item);
    CSDX_PutField(attr.value);
  }
}

void PutDict(const Dict& dict, int32_t level) {
  CSDX_PutBytes("D");
  CSDX_PutField(dict.id);
  CSDX_PutNumber(dict.instance_cnt);
  CSDX_PutNumber(level);
  if (dict.instance_cnt != 1) return;
  for (const CatalogEntry& entry : dict.catalog) {
    CSDX_PutBytes("C");
    CSDX_PutField(CText(entry.hdl));
    CSDX_PutField(CText(entry.pfx));
  }
  for (const SectionPtr& section : dict.sections) PutSection(*section);
}

}  // namespace

int32_t dict_PackDX(zString dlgID, IntByValue lvl) {
  DebugEntry(TRACE_DICT);
  CSDX_Reset();
  const DictPtr dict = ResolveDlgID(dlgID).dict;
  if (dict == nullptr) {
    DebugPrint(TRACE_DICT, 1, "dict_PackDX() failed: unknown dlgID '%s'", dlgID);
    return RESULT_REFUSED;
  }
  if (CSDX_Build([&] { PutDict(*dict, lvl); })) return RESULT_OK;
  DebugPrint(TRACE_DICT, 1, "dict_PackDX() failed: heap overflow");
  return RESULT_NO_MEMORY;
}

int32_t dict_PackBufDX(In<String> buf) {
  DebugEntry(TRACE_DICT);
  return CSDX_PackString(buf.View()) ? RESULT_OK : RESULT_NO_MEMORY;
}

}  // namespace vorlix
