// `vorlix doctor`: whether this machine can serve.
#pragma once

#include "tools/failure.h"
#include "tools/session.h"

namespace vorlix::tool {

/// Looks at everything that a server needs and tells of each whether it is good, doubtful or bad, and what to do.
/// Returns OtherCode when something is bad.
Status ExamineMachine(const Options& options, bool json);

}  // namespace vorlix::tool
