#include "tools/example.h"

#include <string_view>

#include "dll/wire/meanings.h"

namespace vorlix::tool {
namespace {

// Lines that come before the calls of some functions (patterns as in meanings.h). All rows that fit count, in order.
struct Setup {
  std::string_view functions;
  std::string_view lines;
};
constexpr Setup SETUPS[] = {
    {"ini_Get* ini_SetString ini_Open ini_Close ini_FindSection ini_Next*",
     R"(write $tmp/app.ini "[Window]\nTitle=Notes\nWidth=640\n")"},
    {"ini_Close ini_FindSection ini_Next*", R"(ini_Open $tmp/app.ini "")"},
    {"l_Name l_DeleteList l_Add l_Ins l_Set l_Del l_Get* l_Seek*", "l_CreateList Kunden"},
    {"l_Ins l_Set l_Del l_Get* l_Seek*", "l_Add 1 Meier\nl_Add 1 Schulz\nl_GetFirst 1"},
    {"mdf_Get", R"(write $tmp/app.mdf "[main]\nTITEL=Notes\nMODUL=notes\n")"},
    {"dict_*Model", R"(write $tmp/model.dic "[Money]\nFTYP=N\nFLEN=12\nFPREC=2\n")"},
    {"dict_CloseModel", "dict_OpenModel MODEL $tmp/model.dic"},
    {"dict_Open dict_Close dict_DlgID dict_*Alias dict_MapID dict_List dict_First dict_Next dict_Get* dict_Update "
     "dict_Dump dict_PackDX dict_*FilterInit dict_XbufFilterAdd dict_Filter*",
     R"(write $tmp/kunden.dic "[Catalog]\nKD=KUNDE\n[KD.Name]\nPATH=name\nFTYP=T\nFLEN=30\n[KD.Ort]\nPATH=ort\nFTYP=T\nFLEN=30\n")"},
    {"dict_Close dict_DlgID dict_*Alias dict_MapID dict_List dict_First dict_Next dict_Get* dict_Update dict_Dump "
     "dict_PackDX dict_*FilterInit dict_XbufFilterAdd dict_Filter*",
     "dict_Open KUNDEN $tmp/kunden.dic 1 => rc_p=0"},
    {"dict_GetAlias dict_DelAlias", "dict_NewAlias D01KUNDE"},
    {"dict_XbufFilterAdd dict_Filter*", "dict_ListFilterInit D01KUNDE *"},
    {"dict_FilterNext dict_FilterSetValue", R"(dict_FilterInit "")"},
};

}  // namespace

std::string ExampleCall(const FunctionInfo& function) {
  std::string call(function.name);
  if (!function.sample.empty()) (call += ' ') += function.sample;
  return call;
}

std::string ExampleScript(const FunctionInfo& function) {
  std::string script;
  for (const Setup& setup : SETUPS)
    if (IsAmong(function.name, setup.functions)) (script += setup.lines) += '\n';
  return script + ExampleCall(function) + '\n';
}

std::string ExampleCommand(const FunctionInfo& function) {
  const std::string call = ExampleCall(function);
  const std::string script = ExampleScript(function);
  if (script.size() == call.size() + 1) return "vorlix call " + call;
  return "vorlix run - <<'END'\n" + script + "END";
}

}  // namespace vorlix::tool
