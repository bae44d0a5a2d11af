// Names of sections composed of parts, mostly a catalog handle, "." and a field name.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "dll/shared/dictkrnl.h"

namespace vorlix {

/// A composed name, or the start of names. One that is too long for a section is cut to a name which is still too long,
/// so it is that of no section, as it should be.
class SectionName {
 public:
  SectionName(std::initializer_list<std::string_view> parts) {
    for (const std::string_view part : parts) {
      const size_t length = std::min(part.size(), text_.size() - length_);
      std::copy_n(part.begin(), length, text_.begin() + length_);
      length_ += length;
    }
  }

  /// Never ANY_SECTION.
  std::string_view View() const { return {text_.data(), length_}; }

 private:
  std::array<char, SECTION_NAME_SIZE> text_;  // a character more than sections have
  size_t length_ = 0;
};

}  // namespace vorlix
