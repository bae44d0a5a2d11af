// A section enters its own list first and then its group; whatever fails leaves both as they were.
#include "dll/shared/section.h"

namespace vorlix {

void SectionList::Append(const SectionPtr& section) {
  section->position = sections_.size();
  sections_.Append(section);
  try {
    Group(*section);
  } catch (...) {
    sections_.RemoveLast();
    throw;
  }
}

// Notes the group of a section that has been appended.
void SectionList::Group(const Section& section) {
  const std::string_view name = section.name.get();
  const size_t dot = name.find('.');
  if (dot == std::string_view::npos)
    ++ungrouped_;
  else if (FindGroup(name.substr(0, dot)) == NONE)
    groups_.Append({name.substr(0, dot), section.position});
}

void SectionList::RemoveLast() noexcept {
  const size_t last = sections_.size() - 1;
  if (!groups_.empty() && groups_[groups_.size() - 1].first == last) groups_.RemoveLast();
  if (NameOf(sections_[last]).find('.') == std::string_view::npos) --ungrouped_;
  sections_.RemoveLast();
}

size_t SectionList::FindGroup(std::string_view handle) const noexcept {
  const size_t group = groups_.Find(handle);
  return group < groups_.size() ? groups_[group].first : NONE;
}

}  // namespace vorlix
