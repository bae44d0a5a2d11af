// Opening dictionaries.
#pragma once

#include <cstdint>

#include "dll/shared/dictattr.h"
#include "hostif/dllifutil.h"

namespace vorlix {

/// Opens a dictionary for a dialog level, or a model dictionary when the level is negative. An ordinary one that is
/// loaded is shared, and its file is not read; a model that is loaded is given up and read afresh.
///
/// Returns RESULT_OK, or RESULT_REFUSED when the level cannot be added. `rc_p` tells what came of it: 0 when it is
/// open; 1 when its content is refused, or its level after it was read; when its file cannot be opened or memory ran
/// out, the negative error number, or -1; -1 when the file cannot be read to its end. It is left alone when the level
/// of a loaded dictionary is refused. What fails leaves no dictionary behind, and no file open.
int32_t OpenDict(const char* id, const char* fname, int32_t level, IntByReference rc_p);

/// Adds the attributes that an object lacks from the section of a model dictionary that its MODEL names, then from the
/// one that this names, and so on; MODEL is released. Returns 0; 1 when a name is unknown, more than 16 sections are
/// named, or memory ran out, which has been traced.
int32_t InheritObject(Object& object, const char* section);

}  // namespace vorlix
