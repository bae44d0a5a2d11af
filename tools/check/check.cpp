// `vorlix check`.
#include "tools/check/check.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "dll/base/text.h"
#include "tools/check/checker.h"
#include "tools/check/fix.h"
#include "tools/check/report.h"
#include "tools/commands.h"
#include "tools/files.h"
#include "tools/nearest.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

Status ListRules() {
  for (const Rule* const rule : RULES)
    std::printf("%s  %-7s  %s\n", std::string(rule->code).c_str(), std::string(SeverityWord(rule->severity)).c_str(),
                std::string(rule->title).c_str());
  return Status::Ok;
}

Status Explain(const std::string& code) {
  const Rule* const rule = FindRule(code);
  if (rule == nullptr)
    throw ToolError(Status::Usage, "there is no finding " + code + "; vorlix check --list has them all");
  const auto print = [](std::string_view text) { std::printf("%s\n", Wrap(text, TerminalWidth(), 0).c_str()); };
  std::printf("%s, %s: %s\n\n", std::string(rule->code).c_str(), std::string(SeverityWord(rule->severity)).c_str(),
              std::string(rule->title).c_str());
  print(rule->explanation);
  if (!rule->example.empty()) std::printf("\nExample:\n\n%s", std::string(rule->example).c_str());
  std::puts("");
  print(rule->remedy);
  return Status::Ok;
}

CheckOptions OptionsOf(const CheckCommand& command) {
  for (const std::string& code : command.ignore) RequireIgnorable(code);
  CheckOptions options{command.models, command.ignore, {}, command.language};
  if (command.kind == "dictionary") options.kind = FileKind::Dictionary;
  if (command.kind == "model") options.kind = FileKind::Model;
  if (command.kind == "module") options.kind = FileKind::Module;
  return options;
}

// Dictionaries and module files by the ends of their names, in the order of their paths.
std::vector<std::string> FilesBelow(const std::string& directory) {
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory, error)) {
    const std::string end = entry.path().extension().string();
    if (entry.is_regular_file(error) && (EqualNoCase(end, ".dic") || EqualNoCase(end, ".mdf")))
      files.push_back(entry.path().string());
  }
  if (files.empty()) throw ToolError(Status::Usage, "there is no .dic and no .mdf file in " + directory);
  std::ranges::sort(files);
  return files;
}

std::vector<std::string> FilesOf(const CheckCommand& command) {
  std::vector<std::string> files;
  std::error_code error;
  for (const std::string& file : command.files) {
    const bool is_directory = file != "-" && std::filesystem::is_directory(file, error);
    const std::vector<std::string> found = is_directory ? FilesBelow(file) : std::vector{file};
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
}

Findings CheckFile(const std::string& file, const CheckCommand& command, Checker& checker) {
  const std::string text = file == "-" ? ReadStandardInput() : ReadFile(file);
  Judged judged = checker.Check(file, &text);
  if (command.fixes || command.shows_difference) FixFile(judged.findings, command.shows_difference, checker);
  return std::move(judged.findings);
}

// "3 errors, 1 warning in 2 files"; nothing where there is nothing.
void PrintSum(const std::vector<Findings>& files) {
  size_t errors = 0;
  size_t all = 0;
  for (const Findings& file : files) {
    all += file.list.size();
    errors += static_cast<size_t>(std::ranges::count_if(
        file.list, [](const Finding& finding) { return finding.rule->severity == Severity::Error; }));
  }
  const auto counted = [](size_t count, const std::string& word) {
    return std::to_string(count) + ' ' + word + (count == 1 ? "" : "s");
  };
  if (all > 0)
    std::printf("%s, %s in %s\n", counted(errors, "error").c_str(), counted(all - errors, "warning").c_str(),
                counted(files.size(), "file").c_str());
}

}  // namespace

Status CheckFiles(const CheckCommand& command) {
  if (command.lists) return ListRules();
  if (!command.explain.empty()) return Explain(command.explain);
  if (command.files.empty()) throw ToolError(Status::Usage, "a file is required: vorlix check FILE...");
  if (command.fixes && std::ranges::find(command.files, "-") != command.files.end())
    throw ToolError(Status::Usage, "--fix writes files, and standard input is none; --diff shows what it would change");
  const ReportFormat* const format = FindReportFormat(command.format);
  if (format == nullptr) throw ToolError(Status::Usage, "there is no format '" + command.format + "'");
  Checker checker(OptionsOf(command));
  std::vector<Findings> all;
  std::set<std::string> failures;
  for (const std::string& file : FilesOf(command)) {
    try {
      all.push_back(CheckFile(file, command, checker));
    } catch (const ToolError& error) {
      failures.insert(error.what());
    }
  }
  if (!command.shows_difference) std::fputs(format->write(all).c_str(), stdout);
  if (command.format == "text" && !command.shows_difference) PrintSum(all);
  for (const std::string& failure : failures) Tell(failure);
  if (!failures.empty()) return Status::Usage;
  const auto has_findings = [](const Findings& file) { return !file.list.empty(); };
  return std::ranges::any_of(all, has_findings) ? Status::OtherCode : Status::Ok;
}

}  // namespace vorlix::tool
