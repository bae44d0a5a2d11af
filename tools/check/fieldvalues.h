// What a field makes of values, by the code that will show and read them.
#pragma once

#include <string>
#include <string_view>

#include "dll/shared/dictattr.h"

namespace vorlix::tool {

/// Whether the field shows the value as a row of overflow characters.
bool Overflows(const Object& object, const std::string& value);

/// How much of a text the server reads as a decimal number, or as a whole one: bytes from its beginning, 0 for none.
size_t NumberSize(const std::string& text, bool is_whole);

/// A number as the server reads it from a dictionary.
std::string NumberText(double number);

/// A value in the form of the field's type that takes as much room as any; null for types whose values have no longest
/// one. It lives for good.
const char* LongestValue(const Object& object);

/// The bound that does not fit into the field of a number; empty when both do.
std::string BoundWithoutRoom(const Object& object);

/// Why what the field shows for a value cannot be typed back; empty when it can, and where nobody types.
std::string TypingFault(const Object& object, const std::string& value);

/// What the field has against its own default; empty when nothing.
std::string DefaultFault(const Object& object);

}  // namespace vorlix::tool
