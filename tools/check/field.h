// The attributes of a field, and where each comes from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/check/judge.h"

namespace vorlix::tool {

/// An entry of a file.
struct Source {
  const Findings* file = nullptr;  // null for both: no file has it
  const LayoutEntry* entry = nullptr;
};

/// Where the attribute of a section stands: in its own lines, or in those of the nearest model. Borrows from the two.
Source FindSource(const Findings& own, size_t section, std::string_view attribute, const Models& models);

struct ShownAttribute {
  std::string name;
  std::string value;
  Source source;  // none: it is the default
};

/// All that the object has, but for what no file says and that is empty or 0.
std::vector<ShownAttribute> ListAttributes(const Findings& own, size_t section, const Object& object,
                                           const Models& models);

}  // namespace vorlix::tool
