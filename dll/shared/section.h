// The sections of a dictionary, in the order of its file. Each describes an object, which is mostly a field of a
// dialog: the section's name is then the dialog's catalog handle, "." and the name of the field.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "dll/base/nameindex.h"
#include "dll/base/text.h"
#include "dll/shared/dictattr.h"

namespace vorlix {

/// An object. Its dictionary shares it with whoever remembers it.
struct Section {
  OwnedText name;       // in lower case
  size_t position = 0;  // where it stands in its dictionary
  Object object;
};
using SectionPtr = std::shared_ptr<Section>;

/// Room for a section name that is composed of a catalog handle, "." and a field name, its NUL included. A longer one
/// is the name of no section.
inline constexpr size_t SECTION_NAME_SIZE = 84;

/// A name composed of parts, mostly a catalog handle, "." and the name of a field. One that is too long for a section
/// is cut to a name which is still too long, so it is that of no section, as it should be.
class SectionName {
 public:
  SectionName(std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts) {
      const size_t length = std::min(part.size(), text_.size() - length_);
      std::copy_n(part.begin(), length, text_.begin() + length_);
      length_ += length;
    }
  }

  std::string_view View() const { return {text_.data(), length_}; }

 private:
  std::array<char, SECTION_NAME_SIZE> text_;  // a character more than sections have
  size_t length_ = 0;
};

/// Whether the section is a field of the dialog with this catalog handle: its name begins with the handle and ".".
inline bool BelongsTo(const Section& section, std::string_view handle) {
  const std::string_view name = section.name.get();
  return name.size() > handle.size() && name[handle.size()] == '.' && StartsWithNoCase(name, handle);
}

/// A dialog, as far as sections know of it: the part of their names before the first ".".
struct SectionGroup {
  std::string_view handle;  // borrows from the name of its first section
  size_t first;             // the position of that
};

class SectionList {
 public:
  static constexpr size_t NONE = SIZE_MAX;

  /// Appends a section that has its name; throws std::bad_alloc, with the list as it was.
  void Append(const SectionPtr& section);
  void RemoveLast() noexcept;

  /// The position of the first section with this name, without regard to case, or NONE.
  size_t Find(std::string_view name) const noexcept { return sections_.Find(name); }

  /// Whether a name comes more than once.
  bool HasRepeated() const { return sections_.HasRepeated(); }

  /// The position of the first section whose name begins with this handle and ".", or NONE.
  size_t FindGroup(std::string_view handle) const noexcept;

  /// All groups, in the order of their first sections.
  const auto& Groups() const { return groups_; }
  /// Whether every section belongs to a group.
  bool AllGrouped() const { return ungrouped_ == 0; }

  size_t size() const { return sections_.size(); }
  bool empty() const { return sections_.empty(); }
  const SectionPtr& operator[](size_t position) const { return sections_[position]; }
  auto begin() const { return sections_.begin(); }
  auto end() const { return sections_.end(); }

 private:
  static std::string_view NameOf(const SectionPtr& section) { return section->name.get(); }
  static std::string_view HandleOf(const SectionGroup& group) { return group.handle; }
  void Group(const Section& section);

  NamedList<SectionPtr, NameOf> sections_;
  NamedList<SectionGroup, HandleOf> groups_;
  size_t ungrouped_ = 0;
};

}  // namespace vorlix
