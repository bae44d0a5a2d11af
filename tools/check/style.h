// What the server takes without a word and an author will wonder about.
#pragma once

#include "tools/check/judge.h"

namespace vorlix::tool {

/// Adds what there is to warn of to the findings of a file that has been judged.
void CheckStyle(Judged& judged, FileKind kind, const Models& models);

}  // namespace vorlix::tool
