#include <algorithm>
#include <functional>
#include <vector>

#include "tools/check/style.h"

namespace vorlix::tool {
namespace {

// Fields of one dialog with the same path. A path of one dialog may be that of another one as well.
class Paths {
 public:
  explicit Paths(Findings& findings) : findings_(findings), text_(findings.layout) {
    keys_.reserve(text_.Sections().size());
  }

  void Add(size_t section) {
    const LayoutEntry* const path = text_.FindEntry(section, "PATH");
    if (path != nullptr) keys_.push_back(std::hash<std::string_view>()(path->Value()) << 32 | section);
  }

  void Check() {
    std::ranges::sort(keys_);
    for (size_t at = 0; at < keys_.size(); ++at)
      for (size_t before = at; before > 0 && keys_[before - 1] >> 32 == keys_[at] >> 32; --before)
        if (IsRepeated(SectionOf(keys_[before - 1]), SectionOf(keys_[at]))) break;
  }

 private:
  std::string_view NameOf(size_t section) const { return text_.Sections()[section].name; }
  static size_t SectionOf(uint64_t key) { return key & UINT32_MAX; }

  bool IsRepeated(size_t before, size_t section) {
    const LayoutEntry& first = *text_.FindEntry(before, "PATH");
    const LayoutEntry& path = *text_.FindEntry(section, "PATH");
    if (first.Value() != path.Value() || !SameName(HandleOf(NameOf(before)), HandleOf(NameOf(section)))) return false;
    Note(findings_, VX627, text_.ValueSpan(path)).related = {
        {findings_.file, text_.ValueSpan(first), "the other field is here"}};
    return true;
  }

  Findings& findings_;
  const Layout& text_;
  std::vector<uint64_t> keys_;  // the hash of a path, and below it the section that has it
};

}  // namespace

void CheckPaths(Findings& findings) {
  Paths paths(findings);
  for (size_t section = 0; section < findings.layout.Sections().size(); ++section)
    if (findings.layout.IsObject(section)) paths.Add(section);
  paths.Check();
}

}  // namespace vorlix::tool
