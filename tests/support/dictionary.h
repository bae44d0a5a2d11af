// Dictionaries that a test writes down as text.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include "dll/server/functions.h"

namespace vorlix::test {

/// Opens a dictionary from a file with this text; a negative level makes it a model. Returns `rc_p`.
inline int32_t OpenText(const char* id, int32_t level, std::string_view text) {
  std::string path = "/tmp/vorlix_dict_XXXXXX";
  close(mkstemp(path.data()));
  std::ofstream(path) << text;
  int32_t status = -99;
  dict_Open(id, path.c_str(), level, IntByReference(&status));
  std::remove(path.c_str());
  return status;
}

}  // namespace vorlix::test
