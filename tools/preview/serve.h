// The page that lives, on the loopback address alone.
#pragma once

#include "tools/preview/preview.h"

namespace vorlix::tool {

/// Prints the address, with a token that nobody can guess, and serves the page until a signal ends it; each page that a
/// browser opens has a server of its own. Throws ToolError (OtherCode) when the port cannot be had, and as LivePage
/// does.
Status ServePreview(const Options& options, const PreviewCommand& command);

}  // namespace vorlix::tool
