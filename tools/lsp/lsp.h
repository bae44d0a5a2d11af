// `vorlix lsp`: the checker in the editor.
#pragma once

#include <string>
#include <vector>

#include "tools/failure.h"

namespace vorlix::tool {

/// Speaks the Language Server Protocol on standard input and output until the client ends it. Ok: it did as it should.
/// OtherCode: it left, or ended without asking for it. Throws ToolError (Usage) when what comes are no messages.
Status ServeEditor(const std::vector<std::string>& models, const std::string& language);

}  // namespace vorlix::tool
