// The values of a script by name, and the texts that words become with them.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/words.h"

namespace vorlix::tool {

/// A directory of its own that is made when it is first asked for, and removed with everything in it by the destructor.
class ScratchDirectory {
 public:
  ScratchDirectory() = default;
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  /// Throws ToolError (OtherCode) when it cannot be made.
  const std::string& Path();
  /// The same; empty when nobody has asked for it yet.
  const std::string& KnownPath() const { return path_; }

 private:
  std::string path_;
};

/// All values are texts, numbers too. The name "tmp" always stands for a directory of this scope's own.
class Scope {
 public:
  void Set(std::string_view name, std::string value) { values_.insert_or_assign(std::string(name), std::move(value)); }

  /// The value at NAME, or of the item at NAME.ITEM or NAME.ITEM.INDEX of the XBUF that NAME holds. Throws ToolError
  /// when there is none.
  std::string Find(std::string_view address);

  /// The directory that "tmp" stands for; empty while it does not exist.
  const std::string& KnownScratch() const { return scratch_.KnownPath(); }

  /// The names of all values.
  std::vector<std::string> Names() const;

  /// The word with values in the places of their names.
  std::string Expand(const Word& word);

 private:
  std::map<std::string, std::string, std::less<>> values_;
  ScratchDirectory scratch_;
};

/// Whether the text matches a pattern, in which "*" stands for any bytes and "?" for one.
bool Matches(std::string_view text, std::string_view pattern);

}  // namespace vorlix::tool
