#include "tools/shell/completion.h"

#include <algorithm>
#include <filesystem>

#include "dll/base/text.h"
#include "dll/wire/arguments.h"
#include "dll/wire/functable.h"
#include "tools/dialogs.h"
#include "tools/quoting.h"
#include "tools/script.h"
#include "tools/session.h"
#include "tools/signature.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

// The words of a line that is not finished, quotes included.
std::vector<std::string> SplitLine(std::string_view line) {
  std::vector<std::string> words;
  while (!line.empty()) {
    const size_t start = LastWordStart(line);
    if (start < line.size()) words.emplace_back(line.substr(start));
    line = line.substr(0, start == 0 ? 0 : start - 1);
  }
  std::ranges::reverse(words);
  return words;
}

std::string_view Unquoted(std::string_view word) {
  if (word.starts_with('"')) word.remove_prefix(1);
  if (word.ends_with('"')) word.remove_suffix(1);
  return word;
}

// As words of a line; the quote of a directory stays open.
std::vector<std::string> Files(std::string_view word) {
  const std::string_view typed = Unquoted(word);
  const size_t slash = typed.rfind('/');
  const std::string directory(typed.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
  std::vector<std::string> files;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory.empty() ? "." : directory, ignored)) {
    const bool is_directory = entry.is_directory(ignored);
    std::string file = QuoteWord(directory + entry.path().filename().string() + (is_directory ? "/" : ""));
    if (is_directory && file.ends_with('"')) file.pop_back();
    files.push_back(std::move(file));
  }
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
  const size_t start = LastWordStart(text);
  const std::string_view word = text.substr(start);
  std::vector<std::string> words = Candidates(SplitLine(text.substr(0, start)), word);
  std::erase_if(words,
                [&](const std::string& candidate) { return !StartsWithNoCase(Unquoted(candidate), Unquoted(word)); });
  std::ranges::sort(words);
  words.erase(std::unique(words.begin(), words.end()), words.end());
  return words;
}

std::vector<std::string> Completion::FirstWords() const {
  std::vector<std::string> words;
  for (const FunctionInfo& function : FUNCTIONS) words.emplace_back(function.name);
  for (const StatementForm& statement : StatementForms()) words.emplace_back(statement.name);
  words.insert(words.end(), commands_.begin(), commands_.end());
  return words;
}

std::vector<std::string> Completion::Candidates(const std::vector<std::string>& before, std::string_view word) const {
  if (word.starts_with('$')) {
    std::vector<std::string> names;
    for (const std::string& name : values_.Names()) names.push_back('$' + name);
    return names;
  }
  if (before == std::vector<std::string>{".help"}) return FirstWords();
  if (before == std::vector<std::string>{".lang"}) return InstalledLocales();
  if (before == std::vector<std::string>{".trace"}) return {"1", "2", "3", "D1", "D3F2I1N1", "off"};
  if (before.empty() || (before.size() == 1 && before[0] == "each")) return FirstWords();
  const FunctionInfo* const function = FunctionOf(before);
  if (function == nullptr) return Files(word);
  const size_t given = before.size() - (before[0] == "each" ? 2 : 1);
  const ArgInfo* const arg = ArgumentAt(*function, given);
  if (arg == nullptr) return {"=>"};
  if (NamesFile(*arg)) return Files(word);
  if (arg->name == "dlgID") return OpenDialogs(ask_);
  const bool is_field = arg->name == "name" || arg->name == "fldName" || arg->name == "list";
  if (is_field && function->name.starts_with("dict_")) return FieldsOf(ask_, before.back());
  if (arg->name == "filterName") return {"format", "def_hook", "fmt_hook", "out_hook", "load_hook", "init_hook"};
  return {};
}

std::string Completion::NextArguments(std::string_view text, size_t columns) {
  const std::vector<std::string> words = SplitLine(text);
  const FunctionInfo* const function = FunctionOf(words);
  if (function == nullptr || text.empty() || std::ranges::find(words, "=>") != words.end()) return "";
  const size_t named = words[0] == "each" ? 2 : 1;
  const bool in_word = text.back() != ' ';
  if (words.size() == named && in_word) return "";
  size_t given = words.size() - named - (in_word ? 1 : 0);
  const ArgInfo* const first = ArgumentAt(*function, given);
  if (first == nullptr) return "";
  std::string next = std::string(first->name) + ':' + std::string(ClassWord(*first));
  while (const ArgInfo* const arg = ArgumentAt(*function, ++given)) next += ' ' + std::string(arg->name);
  const std::string with_words = std::string(WordsOf(function->name, first->name)) + "  " + next;
  return with_words.size() <= columns ? with_words : next;
}

}  // namespace vorlix::tool
