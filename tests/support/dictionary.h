// Dictionaries that a test writes down as text.
#pragma once

#include <string>
#include <string_view>

#include "dll/server/functions.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::test {

/// Opens a dictionary from a file with this text; a negative level makes it a model. Returns `rc_p`.
inline int32_t OpenText(const char* id, int32_t level, std::string_view text) {
  tool::ScratchDirectory scratch;
  const std::string path = scratch.Path() + "/dict";
  tool::WriteFile(path, text);
  int32_t status = -99;
  dict_Open(id, path.c_str(), level, IntByReference(&status));
  return status;
}

}  // namespace vorlix::test
