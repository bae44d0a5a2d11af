// What people are told about a function: its name, its arguments and what its answers mean.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dll/wire/functable.h"

namespace vorlix::tool {

/// How a script or a command line calls the function and what it gives back, as
/// "l_Get hdl:integer mode:integer -> data:text eol:integer".
std::string Signature(const FunctionInfo& function);

/// What a number means that came back in CODE or an argument, in words; empty when it only counts.
std::string MeaningOf(const FunctionInfo& function, std::string_view value, int32_t number);

/// "19 (no dialog on the top level has this handle)"; without words the number alone.
std::string InWords(const std::string& number, const std::string& meaning);

/// The word for the class of an argument's values: "integer", "number" or "text".
std::string_view ClassWord(const ArgInfo& arg);

/// The function of this name. Throws ToolError (Usage), with the name that is nearest, if one is near.
const FunctionInfo& RequireFunction(std::string_view name);

/// The arguments that `count` words stand for, in order. Those that only return something may be left out; the ones
/// that are given are the first of them. Throws ToolError (Usage) when the function does not take so many.
std::vector<const ArgInfo*> GivenArguments(const FunctionInfo& function, size_t count);

}  // namespace vorlix::tool
