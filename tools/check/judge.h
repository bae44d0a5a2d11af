// The server's own judgement of a dictionary: its code reads the file, and what it says becomes findings.
#pragma once

#include <string>

#include "dll/shared/dictkrnl.h"
#include "tools/check/models.h"

namespace vorlix::tool {

enum class FileKind { Dictionary, Model, Module };

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
