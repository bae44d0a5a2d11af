// A dictionary file as `vorlix check` and as the server see it: what has no error opens, and what has one does not.
#include <list>

#include "dll/shared/dictfile.h"
#include "dll/shared/dlglevel.h"
#include "fuzz/input.h"
#include "tools/check/judge.h"
#include "tools/check/style.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::fuzz {
namespace {

// As dict_Open and dict_OpenModel do, without looking on.
bool Opens(const std::string& path, bool is_model) {
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
  const bool is_model = input.Byte() % 2 == 1;
  const std::string text(input.Rest());
  const std::string path = scratch.Path() + "/f.dic";
  tool::WriteFile(path, text);
  const tool::FileKind kind = is_model ? tool::FileKind::Model : tool::FileKind::Dictionary;
  tool::Models models;
  const std::string model = "[betrag]\nFTYP=N\nFLEN=12\nFPREC=2\n[kreis]\nMODEL=kreis\n";
  models.Open("models", tool::Layout(model));
  const bool opens = Opens(path, is_model);
  tool::Judged judged = tool::Judge(path, kind, models, tool::Layout(text));
  Require(judged.findings.opens == opens, "the checker and the server agree");
  Require(judged.findings.HasErrors() == !opens, "what does not open has an error, and nothing else has");
  tool::CheckStyle(judged, kind, models);
  Require(judged.findings.HasErrors() == !opens, "a matter of style is no error");
}

}  // namespace vorlix::fuzz
