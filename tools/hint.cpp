#include "tools/hint.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <vector>

#include "dll/base/text.h"
#include "tools/check/checker.h"
#include "tools/dialogs.h"
#include "tools/encoding.h"
#include "tools/nearest.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

constexpr size_t MOST_LISTED = 12;
constexpr size_t LONGEST_LINE = 1000;
constexpr std::string_view NO_ENTRY = "\x1";

const host::Arg* FindArg(const FunctionInfo& function, const host::Result& result, std::string_view name) {
  for (size_t k = 0; k < function.arg_count; ++k)
    if (function.args.at(k).name == name) return &result.args.at(k);
  return nullptr;
}

bool HasName(const std::vector<std::string>& names, std::string_view wanted) {
  return std::ranges::any_of(names, [&](std::string_view name) { return EqualNoCase(name, wanted); });
}

// The name that was meant, or all that there are after `or_else`.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& names, std::string_view or_else,
                       const Conversion& to_outside) {
  const std::string_view near = Nearest(word, std::vector<std::string_view>(names.begin(), names.end()));
  if (!near.empty()) return "; did you mean " + QuoteWord(to_outside(near)) + '?';
  std::string all(or_else);
  for (size_t k = 0; k < std::min(names.size(), MOST_LISTED); ++k)
    all += (k == 0 ? "" : ", ") + QuoteWord(to_outside(names[k]));
  return names.size() > MOST_LISTED ? all + ", ..." : all;
}

// ---- Files ----------------------------------------------------------------------------------------------------------

// Whether the call has what the function declares. Of any other there is nothing to say but its result code.
bool IsAsDeclared(const FunctionInfo& function, const host::Result& result) {
  if (result.args.size() != function.arg_count) return false;
  for (size_t k = 0; k < function.arg_count; ++k)
    if (result.args[k].Class() != ClassOf(function.args.at(k)) || result.args[k].Count() == 0) return false;
  return true;
}

// What a function says of a file: 0, or why it cannot have it.
int32_t FileAnswer(const FunctionInfo& function, const host::Result& result) {
  if (FindArg(function, result, "fname") == nullptr || function.name == "dll_SetDebugFlags") return 0;
  if (const host::Arg* const answer = FindArg(function, result, "rc_p")) return answer->IntAt();
  const host::Arg* const handle = FindArg(function, result, "hdl");
  return handle == nullptr ? 0 : std::min(handle->IntAt(), 0);
}

std::vector<std::string> FilesBeside(const fs::path& path) {
  std::vector<std::string> names;
  std::error_code ignored;
  const fs::path directory = path.parent_path();
  for (const auto& entry : fs::directory_iterator(directory.empty() ? "." : directory, ignored))
    names.push_back(entry.path().filename().string());
  return names;
}

// Another text of the call that names a file: the two have changed places.
std::string SwappedFile(const FunctionInfo& function, const host::Result& result, const std::string& path) {
  std::error_code ignored;
  for (const host::Arg& arg : result.args)
    if (arg.Class() == HOST_STRING && arg.TextAt() != path && fs::is_regular_file(arg.TextAt(), ignored))
      return "\n  " + QuoteWord(arg.TextAt()) + " is one; expected: " + Signature(function);
  return "";
}

// What the checker finds in a file, the first of it in words. Models are not looked at, for nobody says here which
// there are.
std::string FindingsHint(const std::string& path, Severity severity) {
  const LocaleScope scope;
  try {
    std::vector<Finding> findings = Checker({}).Check(path).findings.list;
    std::erase_if(findings, [=](const Finding& finding) {
      return finding.rule->severity != severity || finding.rule->attribute == "MODEL";
    });
    if (findings.empty()) return "";
    const Finding& first = findings.front();
    const std::string meant = first.instead && !first.remedy.empty() ? " (" + first.remedy + ')' : "";
    return "\n  line " + std::to_string(first.span.line + 1) + ": " + first.text + meant + "; vorlix check " +
           QuoteWord(path) +
           (findings.size() == 1 ? " tells more" : " tells this and " + std::to_string(findings.size() - 1) + " more");
  } catch (const std::exception&) {
    return "";  // nobody asked for it
  }
}

// Why a file was refused, as far as the file says it. Which models are open nobody says here; those of its project are
// what it is checked with.
std::string RefusalHint(const std::string& path, int32_t code) {
  const LocaleScope scope;
  try {
    Checker checker({});
    const Findings findings = checker.Check(path).findings;
    if (findings.opens && code != 0) return "\n  its level is below the highest one that is open";
    if (findings.opens && !checker.ModelPaths().empty())
      return "\n  it needs a model dictionary, which has to be opened before it: dict_OpenModel MODELS " +
             QuoteWord(checker.ModelPaths().front());
  } catch (const std::exception&) {
    return "\n  where it is wrong: vorlix check " + QuoteWord(path);
  }
  const std::string fault = FindingsHint(path, Severity::Error);
  return fault.empty() ? "\n  no model dictionary that is open has what it inherits; dict_OpenModel opens one" : fault;
}

std::string AbsentHint(const FunctionInfo& function, const host::Result& result, const std::string& path) {
  const std::string there_is_none = "\n  there is no file " + QuoteWord(path);
  if (const std::string swapped = SwappedFile(function, result, path); !swapped.empty()) return there_is_none + swapped;
  const fs::path directory = fs::path(path).parent_path();
  const std::vector<std::string> beside = FilesBeside(path);
  const std::string name = fs::path(path).filename().string();
  const std::string_view meant = Nearest(name, std::vector<std::string_view>(beside.begin(), beside.end()));
  if (!meant.empty()) return there_is_none + "; did you mean " + QuoteWord((directory / meant).string()) + '?';
  std::error_code ignored;
  return there_is_none + (path.starts_with('/') ? "" : " in " + fs::current_path(ignored).string());
}

std::string FileHint(const FunctionInfo& function, const host::Result& result, int32_t answer) {
  const std::string path = FindArg(function, result, "fname")->TextAt();
  if (answer > 0) return RefusalHint(path, result.code);
  std::error_code ignored;
  if (path.empty()) return "";
  return fs::exists(path, ignored) ? "\n  " + QuoteWord(path) + " is there, and cannot be read"
                                   : AbsentHint(function, result, path);
}

// The value of an entry as far as it can be read back: up to a comment, and without white space at its ends.
std::string_view Readable(std::string_view value) {
  value = value.substr(0, value.find_first_of(";#\r\n"));
  constexpr std::string_view BLANKS = " \t\v\f";
  const size_t begin = std::min(value.find_first_not_of(BLANKS), value.size());
  return value.substr(begin, value.find_last_not_of(BLANKS) + 1 - begin);
}

// Why nothing can be written there, as far as the system tells.
std::string WriteFault(const fs::path& path) {
  std::error_code fault;
  const fs::path directory = path.has_parent_path() ? path.parent_path() : ".";
  const fs::space_info space = fs::space(directory, fault);
  if (fault) return ": " + fault.message();
  if (access(directory.c_str(), W_OK) != 0) return ": nobody may write in " + directory.string();
  return space.available == 0 ? ": the disk is full" : "";
}

// ini_SetString answers 0 whatever came of it. The value is read back; one in quotes, or longer than any line, comes
// back as another.
std::string EntryHint(const host::Caller& ask, const host::Result& result) {
  const std::string& value = result.args.at(2).TextAt();
  const std::string path = result.args.at(3).TextAt();
  if (value.size() >= LONGEST_LINE || value.starts_with('"') || value.starts_with('\'')) return "";
  const host::Result now = ask("ini_GetString", {result.args.at(0), result.args.at(1), host::Text(NO_ENTRY),
                                                 host::Text(path), host::OutText(DEFAULT_ROOM)});
  if (now.code != 0 || Readable(now.args.at(4).TextAt()) == Readable(value)) return "";
  return "\n  " + QuoteWord(path) + " was not changed" + WriteFault(path);
}

// ini_GetString and ini_GetInt give what the host has for an entry that is not there, also where the file is not, or
// cannot be read.
std::string UnreadHint(const FunctionInfo& function, const host::Result& result) {
  const std::string path = FindArg(function, result, "fname")->TextAt();
  std::error_code ignored;
  if (!path.empty() && !fs::exists(path, ignored)) return AbsentHint(function, result, path);
  if (fs::is_directory(path, ignored)) return "\n  " + QuoteWord(path) + " is a directory";
  const bool cannot_be_read = !path.empty() && access(path.c_str(), R_OK) != 0;
  return cannot_be_read ? "\n  " + QuoteWord(path) + " is there, and cannot be read" : "";
}

// ---- Dialogs and fields ---------------------------------------------------------------------------------------------

std::string FieldHint(const host::Caller& ask, const std::string& dialog, const std::string& name,
                      const Conversion& to_outside) {
  const std::vector<std::string> fields = FieldsOf(ask, dialog);
  if (fields.empty() || HasName(fields, name)) return "";
  return "\n  " + to_outside(dialog) + " has no field " + QuoteWord(to_outside(name)) +
         DidYouMean(name, fields, "; it has ", to_outside);
}

std::string DialogHint(const host::Caller& ask, const std::string& dialog, const Conversion& to_outside) {
  const std::vector<std::string> dialogs = OpenDialogs(ask);
  if (dialogs.empty()) return "\n  no dictionary is open; dict_Open opens one";
  constexpr size_t LEVEL_SIZE = 3;  // as in D01KUNDE
  const auto is_meant = [&](const std::string& id) {
    return EqualNoCase(id.substr(std::min(LEVEL_SIZE, id.size())), dialog);
  };
  const auto meant = std::ranges::find_if(dialogs, is_meant);
  if (meant != dialogs.end())
    return "\n  no dialog has the ID " + QuoteWord(to_outside(dialog)) + "; did you mean " +
           QuoteWord(to_outside(*meant)) + '?';
  return "\n  no dialog has the ID " + QuoteWord(to_outside(dialog)) +
         DidYouMean(dialog, dialogs, "; open are ", to_outside);
}

// Aliases are dialog IDs too, and in none of the lists.
bool IsDialog(const host::Caller& ask, const std::string& dialog) {
  return ask("dict_Get", {host::Text(dialog), host::Text(""), host::OutText(DEFAULT_ROOM)}).code == 0;
}

// A field that is not there is no failure of most functions: nothing comes back.
bool IsNothing(const FunctionInfo& function, const host::Result& result) {
  const host::Arg* const xbuf = FindArg(function, result, "xbuf");
  const host::Arg* const eof = FindArg(function, result, "eof_p");
  return result.code != 0 || (xbuf != nullptr && xbuf->TextAt().empty()) || (eof != nullptr && eof->IntAt() != 0);
}

// Dialogs and fields that are not there.
std::string NameHint(const host::Caller& ask, const FunctionInfo& function, const host::Result& result,
                     const Conversion& to_outside) {
  const host::Arg* const dialog = FindArg(function, result, "dlgID");
  if (dialog == nullptr) return "";
  if (result.code != 0 && !IsDialog(ask, dialog->TextAt())) return DialogHint(ask, dialog->TextAt(), to_outside);
  const host::Arg* const field = FindArg(function, result, "name");
  if (field == nullptr || !IsNothing(function, result)) return "";
  return FieldHint(ask, dialog->TextAt(), field->TextAt(), to_outside);
}

std::string RoomHint(const FunctionInfo& function) {
  for (const ArgInfo& arg : function.Args())
    if (arg.direction == Direction::Out && ClassOf(arg) == HOST_STRING)
      return "\n  give " + std::string(arg.name) + " more room, as [40000], or leave it out for 32000 bytes";
  return "";
}

}  // namespace

bool IsFileRefused(const FunctionInfo& function, const host::Result& result) {
  return IsAsDeclared(function, result) && FileAnswer(function, result) != 0;
}

std::string HintFor(const host::Caller& ask, const Conversion& to_outside, const FunctionInfo& function,
                    const host::Result& result) {
  if (!IsAsDeclared(function, result)) return "";
  if (const int32_t answer = FileAnswer(function, result); answer != 0) return FileHint(function, result, answer);
  // What the server has taken surprises later, when fields are not there or show nothing.
  if (function.name == "dict_Open" || function.name == "dict_OpenModel")
    return FindingsHint(FindArg(function, result, "fname")->TextAt(), Severity::Warning);
  if (function.name == "ini_SetString") return EntryHint(ask, result);
  if (function.name.starts_with("ini_Get")) return UnreadHint(function, result);
  if (result.code == RESULT_TOO_SHORT) return RoomHint(function);
  return NameHint(ask, function, result, to_outside);
}

}  // namespace vorlix::tool
