// Model definition files, which describe the program modules of an application: the server's judgement, and what will
// surprise.
#pragma once

#include "dll/shared/mdffile.h"
#include "tools/check/finding.h"

namespace vorlix::tool {

/// Reads every section as mdf_Get does; the file opens when it refuses none.
void JudgeModules(Findings& findings);

/// Whether most of the entries are items of modules.
bool HasModules(const Layout& layout);

/// The item of a name in a module file; null when there is none.
const ModuleItem* FindModuleItem(std::string_view name);

/// What becomes of an item, such as "Mdf_title, up to 60 characters".
std::string MeaningOfItem(const ModuleItem& item);

}  // namespace vorlix::tool
