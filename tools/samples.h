// An example of arguments for every function.
#pragma once

#include <string_view>

#include "dll/wire/functable.h"

namespace vorlix::tool {

/// Arguments with which the function can be called, without those that only return something. They read the same in a
/// script and in a shell.
std::string_view SampleArguments(const FunctionInfo& function);

}  // namespace vorlix::tool
