// Host reals as decimal text, exactly: no double in between, and nothing is rounded.
#pragma once

#include <string>
#include <string_view>

#include "hostif/math.h"

namespace vorlix {

enum class DecimalFault {
  None,
  NotANumber,     // not of the form below
  TooManyDigits,  // more than the 15 or 16 significant digits that eight base-100 digits hold, by where the point falls
  OutOfRange,     // not zero, and below 1E-130 or from 1E+126 on
};

/// Reads `[+-]digits[.digits][e[+-]digits]`, where digits may be missing on one side of the point; leading and trailing
/// zeros do not count as digits. `real` becomes the normalised host real, and stays as it was on a fault.
DecimalFault ParseDecimal(std::string_view text, HostReal& real);

/// A fault as words for people, such as "is not a number".
std::string_view FaultText(DecimalFault fault);

/// The shortest text that ParseDecimal reads as this value: plain as "-12.5", and as "1.5E+30" from 1E+21 on and below
/// 1E-6. A value marked invalid gives "invalid".
std::string FormatDecimal(const HostReal& real);

/// The same for a value that ParseDecimal can give; "0x" and the bytes of any other.
std::string FormatExactly(const HostReal& real);

}  // namespace vorlix
