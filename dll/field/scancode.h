// The outcomes that the scanners of all field types share.
#pragma once

#include <cstdint>

namespace vorlix {

enum [[nodiscard]] ScanCode : int32_t{
    SCAN_OK = 0,
    SCAN_EMPTY = 1,          // nothing was typed
    SCAN_BAD_CALL = 2,       // an invalid mode or precision
    SCAN_BAD_CHAR = 3,       // a character that may not be there, or cannot be printed
    SCAN_BLANK_INSIDE = 4,   // a character left of an embedded blank
    SCAN_SIGN_POSITION = 5,  // a sign with no number to its right, or a character left of a sign
    SCAN_SECOND_POINT = 6,   // a second decimal point
    SCAN_DECIMALS = 7,       // decimals where there may be none
    SCAN_BELOW_MODE = 8,     // outside the bounds of the mode, or of what can be written
    SCAN_ABOVE_MODE = 9,
    SCAN_BELOW_MIN = 10,  // outside the bounds of the field
    SCAN_ABOVE_MAX = 11,
    SCAN_BAD_DATE = 12,   // not a date or time
    SCAN_LEFT_OVER = 13,  // a date or time with something behind it
};

}  // namespace vorlix
