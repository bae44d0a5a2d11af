// A file as `vorlix check` and as the server see it: what has no error opens, and what has one does not.
#include <array>
#include <list>

#include "dll/server/functions.h"
#include "dll/shared/dictfile.h"
#include "dll/shared/dlglevel.h"
#include "fuzz/input.h"
#include "tools/check/judge.h"
#include "tools/check/style.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::fuzz {
namespace {

// Every section, as a host asks for it.
bool GivesModules(const std::string& path, const tool::Layout& layout) {
  static std::array<char, 65536> room;
  bool gives_all = true;
  for (const tool::LayoutSection& section : layout.Sections()) {
    const std::string name(section.name);
    if (name.c_str()[0] == '\0') continue;
    int32_t status = 0;
    DllString xbuf = {int32_t{room.size()}, 0, room.data()};
    mdf_Get("none", "none", "", xbuf, IntByReference(&status));  // what was read last goes with a failure
    Require(mdf_Get(path.c_str(), name.c_str(), "", xbuf, IntByReference(&status)) == RESULT_OK, "there is room");
    gives_all = gives_all && status == FILE_OK;
  }
  return gives_all;
}

// As dict_Open and dict_OpenModel do, without looking on.
bool Opens(const std::string& path, tool::FileKind kind, const tool::Layout& layout) {
  if (kind == tool::FileKind::Module) return GivesModules(path, layout);
  const bool is_model = kind == tool::FileKind::Model;
  std::list<DictPtr> fresh;
  if (ReadDictFile(fresh, path, "F", is_model ? DICT_MODEL : DICT_ORIGINAL) != FILE_OK) return false;
  if (is_model) return true;
  if (AddDlgLevel(fresh.front(), 1) != DLG_OK) return false;
  FreeDlgLevel(1);
  return true;
}

}  // namespace

void Run(Input input) {
  static tool::ScratchDirectory scratch;
  constexpr tool::FileKind KINDS[] = {tool::FileKind::Dictionary, tool::FileKind::Model, tool::FileKind::Module};
  const tool::FileKind kind = KINDS[input.Byte() % std::size(KINDS)];
  const std::string text(input.Rest());
  const std::string path = scratch.Path() + "/f.dic";
  tool::WriteFile(path, text);
  tool::Models models;
  const std::string model = "[betrag]\nFTYP=N\nFLEN=12\nFPREC=2\n[kreis]\nMODEL=kreis\n";
  models.Open("models", tool::Layout(model));
  const bool opens = Opens(path, kind, tool::Layout(text));
  tool::Judged judged = tool::Judge(path, kind, models, tool::Layout(text));
  Require(judged.findings.opens == opens, "the checker and the server agree");
  Require(judged.findings.HasErrors() == !opens, "what does not open has an error, and nothing else has");
  tool::CheckStyle(judged, kind, models);
  Require(judged.findings.HasErrors() == !opens, "a matter of style is no error");
}

}  // namespace vorlix::fuzz
