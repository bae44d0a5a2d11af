// `vorlix ps`: the servers that run.
#pragma once

#include "tools/failure.h"

namespace vorlix::tool {

/// Lists the servers of this user, all for root: as a table, or as a JSON array.
Status ListServers(bool json);

}  // namespace vorlix::tool
