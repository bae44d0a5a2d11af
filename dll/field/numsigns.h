// The characters that numbers are written with in the locale in force.
#pragma once

#include <string_view>

namespace vorlix {

struct NumSigns {
  char minus;
  char point;
  char separator;             // of thousands; 0 when there is none
  std::string_view grouping;  // digits a group, one size a byte, from the decimal point to the left

  /// Those in force now; `grouping` borrows from the locale.
  static NumSigns InForce();

  bool HasGroups() const { return separator != '\0' && !grouping.empty() && grouping.front() != '\0'; }
};

/// Walks the sizes of the groups: the last one repeats, and a size of 127 or more takes all digits that are left.
class GroupSizes {
 public:
  explicit GroupSizes(std::string_view grouping) : grouping_(grouping) {}
  int Next();

 private:
  std::string_view grouping_;
  int size_ = 0;
};

}  // namespace vorlix
