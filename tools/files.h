// Whole files as texts. "-" is not special here.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

// Both throw ToolError (OtherCode), with the system's reason, when the file cannot be read or written.
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view text);

/// Whether the file is one of those, by whatever path.
bool IsAmong(const std::string& file, const std::vector<std::string>& paths);

/// All of standard input.
std::string ReadStandardInput();

}  // namespace vorlix::tool
