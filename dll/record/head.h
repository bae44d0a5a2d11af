// What a recording begins with, and how it says what is no call.
#pragma once

#include <string>
#include <string_view>

namespace vorlix {

/// Appends a text as part of a comment: what a script cannot show is escaped, so that it stays in its line.
void AppendComment(std::string& out, std::string_view text);

/// Who records what and where, as comments, and the statement that has the language of the server again.
std::string RecordingHead();

}  // namespace vorlix
