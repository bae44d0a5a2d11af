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

bool IsAmongFiles(const std::string& file, const std::vector<std::string>& paths) {
  std::error_code error;
  return file != "-" && std::ranges::any_of(paths, [&](const std::string& path) {
           return std::filesystem::equivalent(path, file, error);
         });
}

// Whether a line has the comment "vorlix: ignore VX601" (or more codes, or none for all of them).
bool HasMark(std::string_view line, std::string_view code) {
  constexpr std::string_view MARK = "vorlix: ignore";
  const size_t mark = line.find(MARK);
  if (mark == std::string_view::npos || line.substr(0, mark).find_first_of(";#") == std::string_view::npos)
    return false;
  const std::string_view codes = line.substr(mark + MARK.size());
  return codes.find("VX") == std::string_view::npos || codes.find(code) != std::string_view::npos;
}

// Such a comment stands in the line, or is the line above.
bool IsSwitchedOff(const Layout& layout, const Finding& finding) {
  const size_t number = finding.span.line;
  if (number >= layout.LineCount()) return false;
  if (HasMark(layout.Line(number), finding.rule->code)) return true;
  const std::string_view above = number > 0 ? layout.Line(number - 1) : "";
  return (above.starts_with(';') || above.starts_with('#')) && HasMark(above, finding.rule->code);
}

}  // namespace

Checker::Checker(CheckOptions options) : options_(std::move(options)) {
  if (!options_.read) options_.read = ReadFile;
  if (!options_.language.empty()) {
    RequireLanguage(options_.language);
    setenv("LANG", options_.language.c_str(), 1);
    for (const char* const other : {"ZENDLANG", "LC_COLLATE", "LC_CTYPE"}) unsetenv(other);
  }
  if (ChooseLanguageFromEnvironment() != RESULT_OK) throw ToolError(Status::OtherCode, "the language cannot be set up");
}

Judged Checker::Check(const std::string& file, const std::string* text) {
  const Project project = FindProject(file);
  std::vector<std::string> models = project.models;
  models.insert(models.end(), options_.models.begin(), options_.models.end());
  OpenModelsOf(models, file);
  Layout layout(text != nullptr ? *text : ReadFile(file));
  const FileKind by_project = IsAmongFiles(file, project.modules) ? FileKind::Module : KindOf(layout);
  const FileKind kind = options_.kind.value_or(by_project);
  Judged judged = Judge(file, kind, *models_, std::move(layout));
  CheckStyle(judged, kind, *models_);
  std::erase_if(judged.findings.list, [&](const Finding& finding) {
    return IsAmongCodes(finding.rule->code, project.ignore) || IsAmongCodes(finding.rule->code, options_.ignore) ||
           IsSwitchedOff(judged.findings.layout, finding);
  });
  return judged;
}

void Checker::ForgetModels() {
  models_.reset();
  open_.clear();
}

// A file that is a model itself inherits from no other one of the list that it would hide.
void Checker::OpenModelsOf(const std::vector<std::string>& paths, const std::string& file) {
  std::vector<std::string> wanted;
  for (const std::string& path : paths)
    if (!IsAmongFiles(file, {path})) wanted.push_back(path);
  if (models_ != nullptr && wanted == open_) return;
  ForgetModels();
  models_ = std::make_unique<Models>();
  open_ = wanted;
  for (const std::string& path : wanted) {
    try {
      models_->Open(path, Layout(options_.read(path)));
    } catch (const ToolError& failure) {
      throw ToolError(Status::Usage, std::string("a model: ") + failure.what());
    }
  }
}

}  // namespace vorlix::tool
