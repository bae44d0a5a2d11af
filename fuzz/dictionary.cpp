// Bytes as a model dictionary and, behind a line "%%", a dictionary: opened, walked through in every way, changed, and
// closed again. What the functions pack of it can be read.
#include <vector>

#include "dll/server/functions.h"
#include "fuzz/input.h"
#include "host/xbuf.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::fuzz {
namespace {

constexpr int MOST = 100;  // dialogs, fields, steps of a walk

int32_t value = 0;
IntByReference out(&value);

// A text that comes back.
struct Text {
  std::vector<char> memory = std::vector<char>(2048);
  DllString string{2048, 0, memory.data()};

  operator DllString&() { return string; }
  std::string View() const { return std::string(string.View()); }
  // The value of an item, which is there.
  std::string Item(size_t at) const { return host::ReadXbuf(string.View()).at(at).value; }
};

void WalkFields(const char* dialog) {
  constexpr size_t FIELD_NAME = 0;
  Text xbuf;
  Text found;
  dict_First(dialog);
  for (int i = 0; i < MOST && dict_Next(dialog, xbuf, out) == RESULT_OK && value == 0; ++i) {
    const std::string name = xbuf.Item(FIELD_NAME);
    dict_Get(dialog, name.c_str(), found);
    Require(found.Item(FIELD_NAME) == name, "a field of the walk is found by its name");
    dict_Update(dialog, xbuf);
    dict_VarFilterInit(dialog, name.c_str(), "12.5", out);
  }
  dict_GetByKey(dialog, "FTYP", "d", found);
}

void RunFilters(const char* dialog) {
  Text xdict;
  Text shown;
  if (dict_ListFilterInit(dialog, "*", out) != RESULT_OK || value != 0) return;
  for (const char* filter : {"", "format", "fmt_hook", "def_hook", "out_hook", "load_hook", "init_hook"}) {
    dict_FilterInit(filter);
    for (int i = 0; i < MOST && dict_FilterNext(xdict, shown, out) == RESULT_OK && value == 0; ++i)
      dict_FilterSetValue(i % 2 == 0 ? "19991231" : "-1.5");
  }
  if (dict_FilterToXbuf(xdict) == RESULT_OK) dict_XbufFilterAdd(dialog, xdict);
}

void UseDialog(const char* dialog) {
  Text text;
  WalkFields(dialog);
  while (dict_FilterFree() == RESULT_OK) continue;
  RunFilters(dialog);
  dict_FilterFree();
  dict_List(dialog, "titel", text);
  dict_NewAlias(dialog, text);
  const std::string alias = text.View();
  Require(dict_First(alias.c_str()) == RESULT_OK, "an alias is as good as its dialog");
  dict_DelAlias(alias.c_str());
  if (dict_PackDX(dialog, 1) == RESULT_OK)
    while (dll_SendNext(text, out) == RESULT_OK && value == 0) continue;
}

}  // namespace

void Run(Input input) {
  constexpr size_t DIALOG_ID = 1;
  static tool::ScratchDirectory directory;
  static const std::string model = directory.Path() + "/model";
  static const std::string dictionary = directory.Path() + "/dictionary";
  tool::WriteFile(model, input.Until("\n%%\n"));
  tool::WriteFile(dictionary, input.Rest());
  dict_OpenModel("M", model.c_str(), out);
  dict_Open("K", dictionary.c_str(), 1, out);
  dict_Open("K", dictionary.c_str(), 2, out);  // shares the dictionary until one of the levels changes it
  Text dialog;
  for (int i = 0; i < MOST && dict_DlgID("", 1, i, dialog, out) == RESULT_OK && value == 0; ++i)
    UseDialog(dialog.Item(DIALOG_ID).c_str());
  dict_CloseAll();
}

}  // namespace vorlix::fuzz
