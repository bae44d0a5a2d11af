// Which build of the program this is.
#pragma once

#include <string>

namespace vorlix::tool {

/// The first digits of the number that the linker made of the program's contents: two builds have the same one when
/// they are the same, byte for byte.
std::string BuildId();

}  // namespace vorlix::tool
