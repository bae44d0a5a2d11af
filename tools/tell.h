// What the program has to say beside its results.
#pragma once

#include <string_view>

namespace vorlix::tool {

/// Writes "vorlix: MESSAGE" to standard error, in lines that fit into its terminal, and bytes that do not print as
/// \xNN.
void Tell(std::string_view message);

}  // namespace vorlix::tool
