// Words as the arguments of a function, and what a call gave back as values with names.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dll/wire/functable.h"
#include "host/call.h"

namespace vorlix::tool {

/// The room that a returned text gets when nobody says otherwise.
inline constexpr int32_t DEFAULT_ROOM = 32'000;

struct Given {
  std::string text;
  std::optional<int32_t> room;  // bytes that the server may fill
};

/// The arguments of a call, in the classes that the function declares. Arguments that only return something may be left
/// out; those that are given are the first of them, and texts among them need a room. A whole number that does not fit
/// travels as a host real, which the server cuts to the nearest end of the range. Throws ToolError (Usage) when a word
/// does not fit its argument.
std::vector<host::Arg> MakeArguments(const FunctionInfo& function, std::span<const Given> given);

struct Value {
  std::string_view name;  // of the argument
  bool is_text = false;
  std::string text;  // numbers in decimal
};

/// The values of all arguments that return something, in the order of the function table.
std::vector<Value> ReturnedValues(const FunctionInfo& function, const host::Result& result);

/// What a number means that came back; empty for texts, and for numbers that say what they are.
std::string MeaningOf(const FunctionInfo& function, const Value& value);

/// A value for people: a number as it is, a text in quotes.
std::string ShowValue(const Value& value);

}  // namespace vorlix::tool
