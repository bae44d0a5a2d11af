#include "tools/samples.h"

#include <algorithm>

namespace vorlix::tool {
namespace {

struct Sample {
  std::string_view function;
  std::string_view arguments;
};

// In the order of the function table.
constexpr std::array SAMPLES = {
    Sample{"dll_Revision", ""},
    Sample{"dll_Compiled", ""},
    Sample{"dll_Debug", "2"},
    Sample{"dll_SetDebugFlags", R"(D3F1 "")"},
    Sample{"dll_SetLocale", "LANG=C"},
    Sample{"dll_SendNext", ""},
    Sample{"v_Set", "Name Meier"},
    Sample{"v_Unset", "Name"},
    Sample{"v_Get", "Name"},
    Sample{"u_udata", R"("feld:N,10,2,1,>0,9999,m;")"},
    Sample{"u_basename", "Kunde.Adresse.Ort"},
    Sample{"u_pathname", "Kunde.Adresse.Ort"},
    Sample{"u_rempath", "Kunde.Adresse.Ort"},
    Sample{"ini_GetInt", "Window Width 640 app.ini"},
    Sample{"ini_GetString", "Window Title none app.ini"},
    Sample{"ini_SetString", "Window Width 800 app.ini"},
    Sample{"ini_Open", R"(app.ini "")"},
    Sample{"ini_Close", "0"},
    Sample{"ini_CloseAll", ""},
    Sample{"ini_FindSection", "0 Window"},
    Sample{"ini_NextLine", "0"},
    Sample{"ini_NextSection", "0"},
    Sample{"ini_NextEntry", "0"},
    Sample{"l_CreateList", "Kunden"},
    Sample{"l_Name", "1"},
    Sample{"l_HdlByName", "Kunden"},
    Sample{"l_DeleteList", "1"},
    Sample{"l_DeleteAll", ""},
    Sample{"l_Add", "1 Meier"},
    Sample{"l_Ins", "1 Meier"},
    Sample{"l_Set", "1 Meier"},
    Sample{"l_Del", "1"},
    Sample{"l_Get", "1 3"},
    Sample{"l_GetCurr", "1"},
    Sample{"l_GetFirst", "1"},
    Sample{"l_GetLast", "1"},
    Sample{"l_GetNext", "1"},
    Sample{"l_GetPrev", "1"},
    Sample{"l_GetIdx", "1 2"},
    Sample{"l_Seek", "1 3"},
    Sample{"l_SeekCurr", "1"},
    Sample{"l_SeekFirst", "1"},
    Sample{"l_SeekLast", "1"},
    Sample{"l_SeekNext", "1"},
    Sample{"l_SeekPrev", "1"},
    Sample{"l_SeekIdx", "1 2"},
    Sample{"mdf_Get", R"(app.mdf main "")"},
    Sample{"dict_Open", "KUNDEN kunden.dic 1"},
    Sample{"dict_OpenModel", "MODEL model.dic"},
    Sample{"dict_Close", "1"},
    Sample{"dict_CloseAll", ""},
    Sample{"dict_CloseModel", "MODEL"},
    Sample{"dict_DlgID", R"("" 1 0)"},
    Sample{"dict_GetAlias", "D01KUNDE 1"},
    Sample{"dict_NewAlias", "D01KUNDE"},
    Sample{"dict_DelAlias", "D01KUNDE_1"},
    Sample{"dict_MapID", "KD"},
    Sample{"dict_List", "D01KUNDE Title"},
    Sample{"dict_First", "D01KUNDE"},
    Sample{"dict_Next", "D01KUNDE"},
    Sample{"dict_Get", "D01KUNDE name"},
    Sample{"dict_GetByKey", "D01KUNDE FTYP D"},
    Sample{"dict_Update", R"(D01KUNDE "XDict_fld~0~4~nameNDict_len~0~2~40\$")"},
    Sample{"dict_Dump", "D01KUNDE name"},
    Sample{"dict_PackDX", "D01KUNDE 1"},
    Sample{"dict_XbufFilterInit", R"(D01KUNDE "XName~0~5~Meier\$")"},
    Sample{"dict_XbufFilterAdd", R"(D01KUNDE "XOrt~0~4~Bonn\$")"},
    Sample{"dict_ListFilterInit", "D01KUNDE name,ort"},
    Sample{"dict_VarFilterInit", "D01KUNDE name Meier"},
    Sample{"dict_FilterInit", "format"},
    Sample{"dict_FilterNext", ""},
    Sample{"dict_FilterSetValue", "Schulz"},
    Sample{"dict_FilterToXbuf", ""},
    Sample{"dict_FilterFree", ""},
    Sample{"dict_PackBufDX", "hello"},
    Sample{"dict_Y2kMode", "2"},
    Sample{"chk_Num", "N 12.50"},
    Sample{"fmt_Num", "1234.5 10 2 RT"},
    Sample{"scan_Num", R"(12.50 S 2 0 100 "")"},
    Sample{"fmt_Date", "10227 1 10 %d.%m.%Y"},
    Sample{"scan_Date", R"(31.12.1999 GREG %d.%m.%Y "")"},
    Sample{"fmt_Time", "45000 5 %H:%M"},
    Sample{"scan_Time", R"(12:30 "" %H:%M "")"},
    Sample{"fmt_Week", R"(200501 7 "" %W/%Y)"},
    Sample{"scan_Week", R"(1/2005 "" %W/%Y "")"},
    Sample{"fmt_Month", "200512 7 %m/%Y"},
    Sample{"scan_Month", R"(12/2005 "" %m/%Y "")"},
    Sample{"fmt_Text", "Meier 10 R"},
    Sample{"scan_Text", R"(Meier 10 "" "")"},
};

/// Words of a sample; none of them holds a blank.
constexpr size_t CountWords(std::string_view text) {
  return text.empty() ? 0 : 1 + static_cast<size_t>(std::ranges::count(text, ' '));
}

consteval bool SamplesFit() {
  for (size_t k = 0; k < FUNCTIONS.size(); ++k) {
    const auto is_sent = [](const ArgInfo& arg) { return arg.direction != Direction::Out; };
    const auto sent = static_cast<size_t>(std::ranges::count_if(FUNCTIONS.at(k).Args(), is_sent));
    if (SAMPLES.at(k).function != FUNCTIONS.at(k).name || CountWords(SAMPLES.at(k).arguments) != sent) return false;
  }
  return true;
}
static_assert(SAMPLES.size() == FUNCTIONS.size() && SamplesFit());

}  // namespace

std::string_view SampleArguments(const FunctionInfo& function) {
  return SAMPLES.at(static_cast<size_t>(&function - FUNCTIONS.data())).arguments;
}

}  // namespace vorlix::tool
