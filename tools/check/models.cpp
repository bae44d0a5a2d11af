#include "tools/check/models.h"

#include <algorithm>
#include <list>

#include "tools/check/judge.h"

namespace vorlix::tool {

Models::~Models() {
  while (!DictList().empty()) RemoveDict(DictList().front());
}

const Findings& Models::Open(const std::string& path, Layout layout) {
  Judged judged = Judge(path, FileKind::Model, *this, std::move(layout));
  if (judged.findings.opens && judged.dict != nullptr) {
    std::list<DictPtr> fresh = {judged.dict};
    LinkDict(fresh);
  }
  files_.push_back(std::make_unique<Findings>(std::move(judged.findings)));
  return *files_.back();
}

// The newest one counts, as in the server.
const Findings* Models::FileOf(std::string_view model, size_t& section) const {
  for (auto file = files_.rbegin(); file != files_.rend(); ++file) {
    section = (*file)->layout.FindSection(model);
    if ((*file)->opens && section != Layout::NO_SECTION) return file->get();
  }
  return nullptr;
}

const Findings* Models::RefusedFileOf(std::string_view model) const {
  const auto found = std::ranges::find_if(
      files_, [&](const auto& file) { return !file->opens && file->layout.FindSection(model) != Layout::NO_SECTION; });
  return found != files_.end() ? found->get() : nullptr;
}

std::vector<const Findings*> Models::Files() const {
  std::vector<const Findings*> all;
  for (const auto& file : files_) all.push_back(file.get());
  return all;
}

std::vector<std::string_view> Models::Names() const {
  std::vector<std::string_view> names;
  for (const auto& file : files_)
    if (file->opens)
      for (const LayoutSection& section : file->layout.Sections()) names.push_back(section.name);
  return names;
}

}  // namespace vorlix::tool
