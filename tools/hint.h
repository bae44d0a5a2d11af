// What somebody probably meant by a call that went wrong.
#pragma once

#include <string>
#include <string_view>

#include "dll/wire/functable.h"
#include "host/call.h"
#include "tools/encoding.h"

namespace vorlix::tool {

/// Whether the call was to open or read a file, and could not.
bool IsFileRefused(const FunctionInfo& function, const host::Result& result);

/// What to change: the file or the names that are nearly right, and where more can be learned. Lines that begin with
/// two blanks and have no end, as "\n  there is no file 'kunde.dic'; did you mean kunden.dic?"; empty when there is
/// nothing to say. `ask` reaches the server of the call, and `to_outside` converts its texts for people; names of files
/// are those of this side already.
std::string HintFor(const host::Caller& ask, const Conversion& to_outside, const FunctionInfo& function,
                    const host::Result& result);

}  // namespace vorlix::tool
