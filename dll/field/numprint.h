// A number in decimal notation with a given number of decimals.
#pragma once

#include <cstdint>

namespace vorlix {

/// Prints `magnitude`, which is finite and not negative, with `prec` decimals, and without a "." when there are none.
/// The digits are those of printf's "%.*f": exact, ties of the binary value to the even digit. Returns the end of the
/// text, which has no NUL; null when there is no room for it before `limit`.
char* PrintFixed(char* text, char* limit, double magnitude, int32_t prec);

}  // namespace vorlix
