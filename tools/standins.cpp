// Two spellings of a path, such as a.ini and ./a.ini, are one file.
#include "tools/standins.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

#include "dll/base/text.h"
#include "tools/failure.h"
#include "tools/files.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

std::string KeyOf(std::string_view path) { return fs::path(path).lexically_normal().string(); }

}  // namespace

bool StandIns::IsKeyword(const Word& what) {
  constexpr std::array<std::string_view, 6> KEYWORDS = {"absent",    "nowhere", "misplaced",
                                                        "directory", "locked",  "device"};
  return std::ranges::any_of(KEYWORDS, [&](std::string_view keyword) { return what.Is(keyword); });
}

void StandIns::Make(const std::string& scratch, const std::string& path, const Word& what, const std::string& text) {
  const auto [known, is_new] = paths_.try_emplace(KeyOf(path));
  // The name stays, for messages tell it.
  const fs::path name = fs::path(known->first).filename();
  if (is_new) known->second = (fs::path(scratch) / "files" / std::to_string(paths_.size()) / name).string();
  const fs::path& file = known->second;
  std::error_code error;
  fs::remove_all(file.parent_path(), error);
  const bool has_directory = !what.Is("nowhere") && !what.Is("misplaced");
  fs::create_directories(has_directory ? file.parent_path() : file.parent_path().parent_path(), error);
  if (what.Is("misplaced")) {
    WriteFile(file.parent_path().string(), "");
  } else if (what.Is("directory")) {
    fs::create_directory(file, error);
  } else if (what.Is("device")) {
    fs::create_symlink("/dev/null", file, error);
  } else if (has_directory && !what.Is("absent")) {
    WriteFile(file.string(), what.Is("locked") ? "" : text);
  }
  if (what.Is("locked")) fs::permissions(file, fs::perms::none, error);
  if (error) throw ToolError(Status::OtherCode, "cannot make " + file.string() + ": " + error.message());
}

bool StandIns::IsAllowed(std::string_view path) const {
  const auto holds = [&](const std::string& directory) { return KeyOf(path).starts_with(KeyOf(directory) + '/'); };
  return own_.empty() || std::ranges::any_of(own_, holds);
}

// The server takes the first element, up to its first zero byte.
void StandIns::Redirect(const FunctionInfo& function, std::vector<host::Arg>& args) {
  for (size_t k = 0; k < std::min(args.size(), function.arg_count); ++k) {
    host::Arg& arg = args[k];
    if (!NamesFile(function.args.at(k)) || arg.Class() != HOST_STRING || arg.Count() == 0) continue;
    std::string& text = std::get<2>(arg.values)[0];
    const std::string path(BeforeNul(text));
    if (path.empty()) continue;
    if (!IsAllowed(path) && !paths_.contains(KeyOf(path))) Make(own_[0], path, SplitWords("absent")[0], "");
    const auto found = paths_.find(KeyOf(path));
    if (found == paths_.end()) continue;
    const bool was_full = arg.capacity == static_cast<int32_t>(text.size());
    text.replace(0, path.size(), found->second);
    if (was_full) arg.capacity = static_cast<int32_t>(text.size());
  }
}

}  // namespace vorlix::tool
