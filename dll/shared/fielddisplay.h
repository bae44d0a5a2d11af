// What a field shows of its value: numbers, dates, times, weeks, months and texts as its attributes say, and the state
// of buttons and boxes as a number.
#pragma once

#include "dll/base/clock.h"
#include "dll/field/fieldbuf.h"
#include "dll/shared/dictattr.h"

namespace vorlix {

/// Puts the text that a field shows for `value` into `out`. False, with `out` empty, when its type shows the value as
/// it is: field types that only the host knows, MT and XB.
///
/// The value is what the host stores, and empty where there is none: the number at its beginning counts, 0 when that is
/// none, and the nearest end of the range for a whole number beyond 32 bits. "$DATE" in date and week fields and
/// "$TIME" in time fields stand for the moment. A field shows 255 characters at the most: what is formatted and does
/// not fit into these or into FLEN is filled with the overflow character.
bool FmtDisplay(FieldBuffer& out, const Object& field, const char* value, LocalTime now = LocalTimeNow);

}  // namespace vorlix
