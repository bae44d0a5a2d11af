// Model definition files, which describe the program modules of an application: the server's judgement, and what will
// surprise.
#pragma once

#include "tools/check/finding.h"

namespace vorlix::tool {

/// Reads every section as mdf_Get does; the file opens when it refuses none.
void JudgeModules(Findings& findings);

/// Whether most of the entries are items of modules.
bool HasModules(const Layout& layout);

}  // namespace vorlix::tool
