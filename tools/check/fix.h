// Safe changes: the same dictionary, in today's notation.
#pragma once

#include "tools/check/checker.h"

namespace vorlix::tool {

/// Whether the finding can be put right without changing what the server makes of the file, by what it has to say
/// instead.
bool IsFixed(const Finding& finding);

/// Puts right what can be put right without changing what the server makes of the file (VX502, VX504, VX506, VX604),
/// and takes those findings out; a file that a byte order mark had refused opens then. The file is replaced in one
/// step; `only_show` prints what would change instead, as a unified difference.
void FixFile(Findings& findings, bool only_show, Checker& checker);

}  // namespace vorlix::tool
