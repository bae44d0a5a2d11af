// The call scripts as drivers play them: one table of cases for all.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <list>
#include <set>
#include <string>

#include "host/call.h"
#include "tools/files.h"
#include "tools/player.h"

namespace vorlix::test {

/// Gives back all that calls have asked the server for, but for variables, which only their names can find.
inline void PutBack(const host::Caller& call) {
  for (const char* function : {"l_DeleteAll", "ini_CloseAll", "dict_CloseAll"}) call(function, {});
  while (call("dict_FilterFree", {}).code == 0) continue;
  call("dict_Y2kMode", {host::Int(0)});
  call("dll_Debug", {host::Int(0)});
  call("dll_SetDebugFlags", {host::Text(""), host::Text("")});
  call("dll_SetLocale", {host::Text("LANG=C")});
}

/// Plays all scripts, those of the tests and the examples, each on a server that has given back what others asked for.
/// The players keep the directories that calls speak of.
inline std::list<tool::Player> PlayScripts(const host::Caller& call) {
  std::set<std::string> scripts;
  for (const char* directory : {VORLIX_CALLS, VORLIX_EXAMPLES})
    for (const auto& entry : std::filesystem::directory_iterator(directory))
      if (entry.path().extension() == ".vx") scripts.insert(entry.path());
  std::list<tool::Player> players;
  for (const std::string& path : scripts) {
    PutBack(call);
    try {
      players.emplace_back(tool::Calls{.place = call}, path, tool::PlayOptions{.quiet = true})
          .Play(tool::ParseScript(tool::ReadFile(path), path));
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }
  PutBack(call);
  return players;
}

}  // namespace vorlix::test
