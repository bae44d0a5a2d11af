// Host reals as decimal text, for programs that use this library.
#pragma once

#include "dll/wire/decimal.h"

namespace vorlix::host {

using vorlix::DecimalFault;
using vorlix::FaultText;
using vorlix::FormatDecimal;
using vorlix::FormatExactly;
using vorlix::ParseDecimal;

}  // namespace vorlix::host
