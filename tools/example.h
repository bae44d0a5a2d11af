// A call of each function that works, for people to start from.
#pragma once

#include <string>

#include "dll/wire/functable.h"

namespace vorlix::tool {

/// The call alone, as "l_Get 1 3".
std::string ExampleCall(const FunctionInfo& function);

/// A script of which the call is the last line: before it stands what it needs, such as a list. All lines end in a line
/// feed.
std::string ExampleScript(const FunctionInfo& function);

/// The same for a shell, ready to be pasted: `vorlix call` where the call needs nothing before it, else `vorlix run`.
std::string ExampleCommand(const FunctionInfo& function);

}  // namespace vorlix::tool
