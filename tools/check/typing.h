// What becomes of a text that is typed into a field.
#pragma once

#include <string>
#include <string_view>

#include "dll/field/fieldbuf.h"
#include "dll/field/scancode.h"
#include "dll/shared/dictattr.h"

namespace vorlix::tool {

struct Scanned {
  ScanCode code;
  std::string stored;
  bool is_text = false;
};

/// Reads what was typed as the field's type does. `out` gets what the scanner gives back, such as the character that is
/// not allowed.
Scanned ScanTyped(const Object& object, const std::string& typed, FieldBuffer& out);

/// Why it was refused, in words; empty for SCAN_OK.
std::string_view ScanReason(ScanCode code);

}  // namespace vorlix::tool
