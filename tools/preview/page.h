// Forms as one page of HTML, which needs nothing else and prints well.
#pragma once

#include <string>

#include "tools/preview/drawing.h"
#include "tools/preview/form.h"

namespace vorlix::tool {

/// The page, in UTF-8. `to_utf8` converts from the encoding of the server; what cannot be converted is shown as
/// escapes.
std::string MakePage(const Preview& preview, const Conversion& to_utf8);

}  // namespace vorlix::tool
