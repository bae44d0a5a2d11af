// Files that stand in for those that a script names with "file": a call that names the one gets the other.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "dll/wire/functable.h"
#include "host/call.h"
#include "tools/words.h"

namespace vorlix::tool {

class StandIns {
 public:
  /// Whether the word is one of the bare ones that stand for no text: absent, nowhere (its directory is not
  /// there either), misplaced (that is no directory), directory, locked, device.
  static bool IsKeyword(const Word& what);

  /// Makes the file that stands in for the one at `path`, in the directory `scratch`: with the text, or what a
  /// keyword says. A later one takes its place. Throws ToolError (OtherCode).
  void Make(const std::string& scratch, const std::string& path, const Word& what, const std::string& text);

  /// From now on files that the script has not named, and that lie in none of these directories, are absent ones in the
  /// first: a script from elsewhere reaches no file of this machine.
  void Confine(const std::string& scratch, const std::string& unpacked) { own_ = {scratch, unpacked}; }
  /// Whether the script may reach the file itself.
  bool IsAllowed(std::string_view path) const;

  /// Has the arguments that name files name those that stand in for them.
  void Redirect(const FunctionInfo& function, std::vector<host::Arg>& args);

 private:
  std::map<std::string, std::string> paths_;
  std::vector<std::string> own_;  // empty: files that have no stand-in are reached themselves
};

}  // namespace vorlix::tool
