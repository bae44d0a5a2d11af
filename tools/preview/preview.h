// `vorlix preview`: the dialogs of a dictionary as forms.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/failure.h"
#include "tools/session.h"

namespace vorlix::tool {

struct PreviewCommand {
  std::string file;
  std::string dialog;  // a name or an ID; empty: all
  std::vector<std::string> models;
  std::string html;                // the page to write; empty: text on standard output
  std::optional<int> port;         // serves a page that lives, on this port; 0 for any that is free
  std::vector<std::string> words;  // the command line, for the program that serves
};

/// Throws ToolError (OtherCode) when the server refuses the file, (Usage) when it has no such dialog.
Status ShowPreview(const Options& options, const PreviewCommand& command);

}  // namespace vorlix::tool
