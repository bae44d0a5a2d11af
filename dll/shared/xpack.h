// The attributes of dictionary objects in XBUFs.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "dll/shared/dictattr.h"
#include "dll/wire/xbuf.h"
#include "hostif/dllifutil.h"

namespace vorlix {

struct Section;

/// Packs a section of a dictionary into `xbuf`: its field name as "fld", and all attributes that can be read. Returns
/// 0; or RESULT_TOO_SHORT, with the length of `xbuf` as it was.
ResultCode xpack_dict(const Section& section, DllString& xbuf);

/// Sets the attributes that an XBUF holds, and copies the value of its item "fld", up to a NUL in it, into `field`,
/// which has room for at least the NUL. A failure has been traced: an XBUF that is corrupt (a field
/// name too long for `field` counts as XBUF_VALUE_PAST_END), names no field, has no attributes, or has one that cannot
/// be set. What came before it stays set.
AttrResult XbufObSet(Object& object, std::span<char> field, std::string_view xbuf);

}  // namespace vorlix
