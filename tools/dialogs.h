// What is open in the server, asked by calls that leave its state as it is.
#pragma once

#include <string>
#include <vector>

#include "host/call.h"

namespace vorlix::tool {

/// The dialog IDs of all levels, from the lowest on.
std::vector<std::string> OpenDialogs(const host::Caller& ask);

/// The names of a dialog's fields; none when there is no such dialog.
std::vector<std::string> FieldsOf(const host::Caller& ask, const std::string& dialog);

}  // namespace vorlix::tool
