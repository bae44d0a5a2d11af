// The server's own judgement of a dictionary: its code reads the file, and what it says becomes findings.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dll/shared/dictkrnl.h"
#include "tools/check/finding.h"

namespace vorlix::tool {

enum class FileKind { Dictionary, Model, Module };

/// The model dictionaries that the files of a run inherit from: open as long as this lives. One at a time.
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
  std::vector<std::string_view> Names() const;
  /// All of them, in the order in which they were opened.
  std::vector<const Findings*> Files() const;

 private:
  std::vector<std::unique_ptr<Findings>> files_;
};

/// A file as the server reads it: what it says, and the dictionary that comes of it, as far as it does.
struct Judged {
  Findings findings;
  FileKind kind;
  DictPtr dict;  // null when the file has no section, and of module files
};

/// Reads the file, as one to be opened on a dialog level of its own, as a model dictionary, or each section of a module
/// file. The layout is that of its contents, which are not read from the disk again.
Judged Judge(const std::string& path, FileKind kind, const Models& models, Layout layout);

/// A file without a catalog whose entries are mostly items of modules is a module file. Any other that has sections,
/// but neither a catalog nor points in their names, is a model dictionary.
FileKind KindOf(const Layout& layout);

}  // namespace vorlix::tool
