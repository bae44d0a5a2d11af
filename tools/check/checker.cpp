#include "tools/check/checker.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "dll/base/text.h"
#include "dll/server/nls.h"
#include "tools/check/project.h"
#include "tools/check/style.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/session.h"

namespace vorlix::tool {
namespace {

bool IsAmongCodes(std::string_view code, const std::vector<std::string>& codes) {
  return std::ranges::any_of(codes, [&](const std::string& one) { return EqualNoCase(one, code); });
}

// Whether a line has the comment "vorlix: ignore VX601", with this code among others, or with none for all of them.
bool HasMark(std::string_view line, std::string_view code) {
  constexpr std::string_view MARK = "vorlix: ignore";
  const size_t mark = line.find(MARK);
  if (mark == std::string_view::npos || line.substr(0, mark).find_first_of(";#") == std::string_view::npos)
    return false;
  bool names_codes = false;
  for (const std::string& word : SplitList(line.substr(mark + MARK.size()), " ,:")) {
    if (EqualNoCase(word, code)) return true;
    names_codes = names_codes || StartsWithNoCase(word, "VX");
  }
  return !names_codes;
}

// Such a comment stands in the line, or is the line above. What the server refuses it refuses all the same.
bool IsSwitchedOff(const Layout& layout, const Finding& finding) {
  const size_t number = finding.span.line;
  if (number >= layout.LineCount()) return false;
  if (HasMark(layout.Line(number), finding.rule->code)) return true;
  const std::string_view above = number > 0 ? layout.Line(number - 1) : "";
  return (above.starts_with(';') || above.starts_with('#')) && HasMark(above, finding.rule->code);
}

// While it lives, the environment names one language, unless that is empty.
class LanguageVariables {
 public:
  explicit LanguageVariables(const std::string& language) {
    if (language.empty()) return;
    for (const char* const name : {"LANG", "ZENDLANG", "LC_COLLATE", "LC_CTYPE"}) {
      const char* const value = std::getenv(name);
      before_.emplace_back(name, value != nullptr ? std::optional<std::string>(value) : std::nullopt);
      unsetenv(name);
    }
    setenv("LANG", language.c_str(), 1);
  }
  ~LanguageVariables() {
    for (const auto& [name, value] : before_)
      if (value)
        setenv(name, value->c_str(), 1);
      else
        unsetenv(name);
  }
  LanguageVariables(const LanguageVariables&) = delete;
  LanguageVariables& operator=(const LanguageVariables&) = delete;

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> before_;
};

// Nobody waits for a model that a pipe would bring.
void RequireRegular(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    throw ToolError(Status::Usage, path + " is no regular file");
}

}  // namespace

Checker::Checker(CheckOptions options) : options_(std::move(options)) {
  if (!options_.read) options_.read = ReadFile;
  UseLanguage(options_.language);
}

// Names have the letters of the language, and fields its formats: models are opened anew.
void Checker::UseLanguage(const std::string& language) {
  if (!language.empty()) RequireLanguage(language);
  const LanguageVariables variables(language);
  if (ChooseLanguageFromEnvironment() != RESULT_OK) throw ToolError(Status::OtherCode, "the language cannot be set up");
  language_ = language;
  ForgetModels();
}

Judged Checker::Check(const std::string& file, const std::string* text) {
  const Project project = FindProject(file);
  const std::string& language = options_.language.empty() ? project.language : options_.language;
  if (language != language_) UseLanguage(language);
  std::vector<std::string> models = project.models;
  models.insert(models.end(), options_.models.begin(), options_.models.end());
  OpenModelsOf(models, file);
  Layout layout(text != nullptr ? *text : ReadFile(file));
  const FileKind by_project = IsAmong(file, project.modules) ? FileKind::Module : KindOf(layout);
  const FileKind kind = options_.kind.value_or(by_project);
  Judged judged = Judge(file, kind, *models_, std::move(layout));
  CheckStyle(judged, kind, *models_);
  std::erase_if(judged.findings.list, [&](const Finding& finding) {
    if (finding.rule->severity == Severity::Error) return false;
    return IsAmongCodes(finding.rule->code, project.ignore) || IsAmongCodes(finding.rule->code, options_.ignore) ||
           IsSwitchedOff(judged.findings.layout, finding);
  });
  return judged;
}

void Checker::ForgetModels() {
  models_.reset();
  open_.clear();
}

// A model is opened once, and a file that is a model itself inherits from no other one of the list that it would hide.
void Checker::OpenModelsOf(const std::vector<std::string>& paths, const std::string& file) {
  std::vector<std::string> wanted;
  for (const std::string& path : paths)
    if (!IsAmong(file, {path}) && !IsAmong(path, wanted)) wanted.push_back(path);
  if (models_ != nullptr && wanted == open_) return;
  ForgetModels();
  models_ = std::make_unique<Models>();
  open_ = wanted;
  for (const std::string& path : wanted) {
    try {
      RequireRegular(path);
      models_->Open(path, Layout(options_.read(path)));
    } catch (const ToolError& failure) {
      throw ToolError(Status::Usage, std::string("a model: ") + failure.what());
    }
  }
}

}  // namespace vorlix::tool
