// The call scripts as drivers play them: one table of cases for all.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "host/call.h"

namespace vorlix::test {

/// The paths of all scripts, those of the tests and the examples.
inline std::vector<std::string> CallScripts() {
  std::vector<std::string> scripts;
  for (const char* directory : {VORLIX_CALLS, VORLIX_EXAMPLES})
    for (const auto& entry : std::filesystem::directory_iterator(directory))
      if (entry.path().extension() == ".vx") scripts.push_back(entry.path().string());
  std::sort(scripts.begin(), scripts.end());
  return scripts;
}

/// Gives back all that calls have asked the server for, but for variables, which only their names can find.
inline void PutBack(const host::Caller& call) {
  call("l_DeleteAll", {});
  call("ini_CloseAll", {});
  call("dict_CloseAll", {});
  while (call("dict_FilterFree", {}).code == 0) continue;
  call("dict_Y2kMode", {host::Int(0)});
  call("dll_Debug", {host::Int(0)});
  call("dll_SetDebugFlags", {host::Text(""), host::Text("")});
  call("dll_SetLocale", {host::Text("LANG=C")});
}

}  // namespace vorlix::test
