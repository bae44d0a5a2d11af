#include "tools/check/project.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>

#include "dll/ini/ini.h"
#include "tools/check/layout.h"
#include "tools/check/rules.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/nearest.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view SECTION = "check";
constexpr std::string_view NAMES[] = {"models", "modules", "ignore", "language"};

std::string MeantName(std::string_view name, std::span<const std::string_view> names) {
  const std::string_view near = Nearest(name, names);
  return near.empty() ? "" : "; did you mean " + std::string(near) + "?";
}

// Nobody would notice that a misspelt line says nothing.
void CheckProject(const std::string& file) {
  const Layout layout(ReadFile(file));
  const auto fail = [&](size_t line, const std::string& what) {
    throw ToolError(Status::Usage, file + ':' + std::to_string(line + 1) + ": " + what);
  };
  for (const LayoutSection& section : layout.Sections()) {
    if (!SameName(section.name, SECTION))
      fail(section.line,
           "there is no section [" + std::string(section.name) + "]" + MeantName(section.name, {&SECTION, 1}));
    for (const LayoutEntry& entry : layout.EntriesOf(section)) {
      const std::string_view name = entry.Name();
      if (std::ranges::none_of(NAMES, [=](std::string_view known) { return SameName(known, name); }))
        fail(entry.line, "there is no entry " + std::string(name) + MeantName(name, NAMES));
      if (!SameName(name, "ignore")) continue;
      try {
        for (const std::string& code : SplitList(entry.Value(), ",")) RequireIgnorable(code);
      } catch (const ToolError& error) {
        fail(entry.line, error.what());
      }
    }
  }
}

std::string ReadText(const fs::path& file, std::string_view name) {
  std::array<char, INI_TEXT_SIZE> text;
  IniGetString(SECTION, name, "", text.data(), static_cast<int>(text.size()), file.c_str());
  return text.data();
}

}  // namespace

std::vector<std::string> SplitList(std::string_view text, std::string_view separators) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const std::string_view part = text.substr(0, text.find_first_of(separators));
    text.remove_prefix(std::min(part.size() + 1, text.size()));
    const size_t begin = part.find_first_not_of(' ');
    if (begin != std::string_view::npos) parts.emplace_back(part.substr(begin, part.find_last_not_of(' ') + 1 - begin));
  }
  return parts;
}

Project FindProject(const std::string& file) {
  std::error_code error;
  const fs::path path = file == "-" ? fs::current_path(error) / "-" : fs::absolute(file, error);
  for (fs::path directory = path.parent_path();; directory = directory.parent_path()) {
    const fs::path found = directory / "vorlix.ini";
    if (fs::is_regular_file(found, error)) {
      CheckProject(found.string());
      Project project{found.string(), SplitList(ReadText(found, "models"), ","),
                      SplitList(ReadText(found, "modules"), ","), SplitList(ReadText(found, "ignore"), ","),
                      ReadText(found, "language")};
      for (std::vector<std::string>* const paths : {&project.models, &project.modules})
        for (std::string& path_there : *paths) path_there = fs::proximate(directory / path_there, error).string();
      return project;
    }
    if (directory == directory.parent_path()) return {};
  }
}

}  // namespace vorlix::tool
