// `vorlix bundle`: a recording and the files that its calls name as one archive to send.
#pragma once

#include <string>

#include "tools/failure.h"

namespace vorlix::tool {

/// The names in a bundle: the script, and what is told about it.
inline constexpr const char* BUNDLE_SCRIPT = "recording.vx";
inline constexpr const char* BUNDLE_ABOUT = "about.json";

/// A recording without a last line that has no end, for its server was killed while it wrote, which standard error is
/// told of; any other script as it is.
std::string WithoutCutLine(std::string script, const std::string& path);

/// Packs the recording at `path` into a new archive at `to`; empty: beside it, with ".tar.gz" behind its name. Prints
/// what is in it.
Status BundleRecording(const std::string& path, const std::string& to);

}  // namespace vorlix::tool
