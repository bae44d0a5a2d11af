// Forms as text, for a terminal or a file.
#pragma once

#include <string>

#include "tools/encoding.h"
#include "tools/preview/form.h"

namespace vorlix::tool {

/// The form in lines of at most `width` columns, 20 or more. `to_outside` converts from the encoding of the server.
std::string DrawForm(const Form& form, size_t width, const Conversion& to_outside);

}  // namespace vorlix::tool
