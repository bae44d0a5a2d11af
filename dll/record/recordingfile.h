// The file that a recording is written to.
#pragma once

#include <string>
#include <string_view>

namespace vorlix {

/// The path that a pattern stands for: "%p" is the id of this process, "%%" a "%".
std::string RecordingPath(std::string_view pattern);

/// Opens a new file, or an empty one of this user's own, and locks it: a recording never takes the place of anything.
/// The descriptor, or -1 with errno: EEXIST for a file that is there already, EINVAL for what is no regular file.
int OpenRecording(const std::string& path);

}  // namespace vorlix
