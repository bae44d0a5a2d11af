// The model dictionaries that the files of a run inherit from.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/check/finding.h"

namespace vorlix::tool {

/// They are open as long as this lives. One at a time.
class Models {
 public:
  Models() = default;
  ~Models();
  Models(const Models&) = delete;
  Models& operator=(const Models&) = delete;

  /// Opens a further one, as a host would, and says what is found in it.
  const Findings& Open(const std::string& path, Layout layout);

  /// The file and the section of the model of this name; null for none. Borrowed.
  const Findings* FileOf(std::string_view model, size_t& section) const;
  /// The file that would have the model if it opened; null for none. Borrowed.
  const Findings* RefusedFileOf(std::string_view model) const;
  /// The names of all models that there are.
  std::vector<std::string_view> Names() const;
  /// All files, in the order in which they were opened, also those that are refused.
  std::vector<const Findings*> Files() const;

 private:
  std::vector<std::unique_ptr<Findings>> files_;
};

}  // namespace vorlix::tool
