#include "tools/check/project.h"

#include <array>
#include <filesystem>
#include <string_view>

#include "dll/ini/ini.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> SplitCommas(std::string_view text) {
  std::vector<std::string> words;
  while (!text.empty()) {
    const std::string_view word = text.substr(0, text.find(','));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    const size_t begin = word.find_first_not_of(' ');
    if (begin != std::string_view::npos) words.emplace_back(word.substr(begin, word.find_last_not_of(' ') + 1 - begin));
  }
  return words;
}

std::string ReadText(const fs::path& file, std::string_view name) {
  std::array<char, INI_TEXT_SIZE> text;
  IniGetString("check", name, "", text.data(), static_cast<int>(text.size()), file.c_str());
  return text.data();
}

}  // namespace

Project FindProject(const std::string& file) {
  std::error_code error;
  const fs::path path = file == "-" ? fs::current_path(error) / "-" : fs::absolute(file, error);
  for (fs::path directory = path.parent_path();; directory = directory.parent_path()) {
    const fs::path found = directory / "vorlix.ini";
    if (fs::is_regular_file(found, error)) {
      Project project{found.string(), SplitCommas(ReadText(found, "models")), SplitCommas(ReadText(found, "modules")),
                      SplitCommas(ReadText(found, "ignore")), ReadText(found, "language")};
      for (std::vector<std::string>* const paths : {&project.models, &project.modules})
        for (std::string& path_there : *paths) path_there = fs::proximate(directory / path_there, error).string();
      return project;
    }
    if (directory == directory.parent_path()) return {};
  }
}

}  // namespace vorlix::tool
