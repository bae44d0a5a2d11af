#include "tools/scope.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "tools/failure.h"
#include "tools/items.h"

namespace vorlix::tool {

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

const std::string& ScratchDirectory::Path() {
  if (!path_.empty()) return path_;
  std::error_code error;
  std::string pattern = (std::filesystem::temp_directory_path(error) / "vorlix-XXXXXX").string();
  if (error || mkdtemp(pattern.data()) == nullptr)
    throw ToolError(Status::OtherCode, "cannot make a directory for $tmp: " +
                                           (error ? error.message() : std::string(std::strerror(errno))) +
                                           "; TMPDIR says where");
  return path_ = pattern;
}

std::string Scope::Find(std::string_view address) {
  const size_t point = address.find('.');
  const std::string_view name = address.substr(0, point);
  if (name == "tmp") return scratch_.Path();
  const auto found = values_.find(name);
  if (found == values_.end() && ReadWhole<int>(name))
    throw ToolError(Status::Usage, "the script was given no argument " + std::string(name));
  if (found == values_.end()) throw ToolError(Status::Usage, "there is no value '" + std::string(name) + "' yet");
  return point == std::string_view::npos ? found->second : FindItem(found->second, address.substr(point + 1));
}

std::vector<std::string> Scope::Names() const {
  std::vector<std::string> names = {"tmp"};
  for (const auto& [name, value] : values_) names.push_back(name);
  return names;
}

std::string Scope::Expand(const Word& word) {
  std::string text;
  for (const Piece& piece : word.pieces) text += piece.is_name ? Find(piece.text) : piece.text;
  return text;
}

// After a mismatch the last "*" takes one byte more; earlier ones never need to.
bool Matches(std::string_view text, std::string_view pattern) {
  size_t at = 0;
  size_t in_pattern = 0;
  size_t star = std::string_view::npos;
  size_t star_end = 0;
  while (at < text.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == '*') {
      star = ++in_pattern;
      star_end = at;
    } else if (in_pattern < pattern.size() && (pattern[in_pattern] == '?' || pattern[in_pattern] == text[at])) {
      ++in_pattern;
      ++at;
    } else if (star != std::string_view::npos) {
      in_pattern = star;
      at = ++star_end;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', in_pattern) == std::string_view::npos;
}

}  // namespace vorlix::tool
