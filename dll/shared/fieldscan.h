// What the scanners of all field types share: the check against a set of allowed characters.
#pragma once

#include <cstdint>
#include <string_view>

#include "dll/field/fieldbuf.h"
#include "dll/field/scancode.h"

namespace vorlix {

enum ValidOutcome : int32_t { VALID_MALFORMED = -1, VALID_REFUSED = 0, VALID_ALLOWED = 1 };

struct [[nodiscard]] ValidCheck {
  ValidOutcome outcome;
  char badchar = '\0';  // the first character that is refused, where one is
};

/// Checks every character of `text`: it must be printable in the locale in force and allowed by `valid`. An empty
/// `valid` allows everything; one that begins with "[" is a single character class ("[0-9A-Z]*", "[^x]*", with A-Z and
/// a-z standing for the locale's upper-case and lower-case characters); any other lists the allowed characters.
ValidCheck FmtCheckValid(std::string_view text, std::string_view valid);

/// FmtCheckValid as a step of a scanner: SCAN_OK and `out` untouched, or SCAN_BAD_CHAR and the refused character as
/// `out`, which is empty when `valid` is malformed.
ScanCode CheckFieldChars(std::string_view text, std::string_view valid, FieldBuffer& out);

}  // namespace vorlix
