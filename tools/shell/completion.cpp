#include "tools/shell/completion.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "dll/base/text.h"
#include "dll/wire/functable.h"
#include "host/xbuf.h"
#include "tools/script.h"
#include "tools/signature.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> SplitBlanks(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::vector<std::string> Files(std::string_view word) {
  const size_t slash = word.rfind('/');
  const std::string directory(word.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
  std::vector<std::string> files;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory.empty() ? "." : directory, ignored))
    files.push_back(directory + entry.path().filename().string() + (entry.is_directory(ignored) ? "/" : ""));
  return files;
}

// The argument that the word behind so many others is for; null behind the last one.
const ArgInfo* ArgumentAt(const FunctionInfo& function, size_t given) {
  for (const ArgInfo& arg : function.Args())
    if (arg.direction != Direction::Out && given-- == 0) return &arg;
  return nullptr;
}

const FunctionInfo* FunctionOf(const std::vector<std::string>& words) {
  const size_t at = !words.empty() && words[0] == "each" ? 1 : 0;
  return words.size() > at ? FindFunction(words[at]) : nullptr;
}

}  // namespace

std::vector<std::string> Completion::Words(std::string_view text) const {
  const size_t blank = text.find_last_of(" \t");
  const size_t start = blank == std::string_view::npos ? 0 : blank + 1;
  const std::string_view word = text.substr(start);
  std::vector<std::string> words = Candidates(SplitBlanks(text.substr(0, start)), word);
  std::erase_if(words, [&](const std::string& candidate) { return !StartsWithNoCase(candidate, word); });
  std::ranges::sort(words);
  words.erase(std::unique(words.begin(), words.end()), words.end());
  return words;
}

std::vector<std::string> Completion::FirstWords() const {
  std::vector<std::string> words = Keywords();
  words.insert(words.end(), commands_.begin(), commands_.end());
  for (const FunctionInfo& function : FUNCTIONS) words.emplace_back(function.name);
  return words;
}

std::vector<std::string> Completion::Candidates(const std::vector<std::string>& before, std::string_view word) const {
  if (word.starts_with('$')) {
    std::vector<std::string> names;
    for (const std::string& name : values_.Names()) names.push_back('$' + name);
    return names;
  }
  if (before.empty() || (before.size() == 1 && before[0] == "each")) return FirstWords();
  const FunctionInfo* const function = FunctionOf(before);
  if (function == nullptr) return Files(word);
  const size_t given = before.size() - (before[0] == "each" ? 2 : 1);
  const ArgInfo* const arg = ArgumentAt(*function, given);
  if (arg == nullptr) return {"=>"};
  if (arg->name == "fname") return Files(word);
  if (arg->name == "dlgID") return Dialogs();
  const bool is_field = arg->name == "name" || arg->name == "fldName" || arg->name == "list";
  if (is_field && function->name.starts_with("dict_")) return Fields(before.back());
  if (arg->name == "filterName") return {"format", "def_hook", "fmt_hook", "out_hook", "load_hook", "init_hook"};
  return {};
}

// All levels, from the lowest on.
std::vector<std::string> Completion::Dialogs() const {
  std::vector<std::string> dialogs;
  for (int32_t index = 0;; ++index) {
    const host::Result result = call_(
        "dict_DlgID", {host::Text(""), host::Int(0), host::Int(index), host::OutText(DEFAULT_ROOM), host::IntRef()});
    if (result.code != 0 || result.args.at(4).IntAt() != 0) return dialogs;
    for (const host::XbufItem& item : host::ReadXbuf(result.args.at(3).TextAt()))
      if (item.name.ends_with("_id")) dialogs.push_back(item.value);
  }
}

// A filter set of its own tells them, and leaves the walk and the set in use as they are.
std::vector<std::string> Completion::Fields(const std::string& dialog) const {
  std::vector<std::string> fields;
  const host::Result opened = call_("dict_ListFilterInit", {host::Text(dialog), host::Text("*"), host::IntRef()});
  if (opened.code != 0 || opened.args.at(2).IntAt() != 0) return fields;
  const host::Result all = call_("dict_FilterToXbuf", {host::OutText(DEFAULT_ROOM)});
  call_("dict_FilterFree", {});
  if (all.code == 0)
    for (const host::XbufItem& item : host::ReadXbuf(all.args.at(0).TextAt())) fields.push_back(item.name);
  return fields;
}

std::string Completion::NextArguments(std::string_view text) {
  const std::vector<std::string> words = SplitBlanks(text);
  const FunctionInfo* const function = FunctionOf(words);
  if (function == nullptr || text.empty() || std::ranges::find(words, "=>") != words.end()) return "";
  const size_t named = words[0] == "each" ? 2 : 1;
  const bool in_word = text.back() != ' ';
  if (words.size() == named && in_word) return "";
  std::string next;
  for (size_t given = words.size() - named - (in_word ? 1 : 0);; ++given) {
    const ArgInfo* const arg = ArgumentAt(*function, given);
    if (arg == nullptr) return next;
    next += next.empty() ? std::string(arg->name) + ':' + std::string(ClassWord(*arg)) : ' ' + std::string(arg->name);
  }
}

}  // namespace vorlix::tool
