// The server's own code reads a dictionary, and what it says about it becomes findings.
#pragma once

#include "tools/check/judge.h"

namespace vorlix::tool {

/// Reads the text of the findings as the file of a dictionary or a model dictionary, adds what is found, and says
/// whether it opens. Null when it has no section.
DictPtr ReadDictionary(Findings& findings, FileKind kind, const Models& models);

/// Makes one finding, at the cause, of what follows from a catalog that is not where the server looks for it.
void ExplainLostCatalog(Findings& findings);

}  // namespace vorlix::tool
