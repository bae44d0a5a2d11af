// How long a call takes here, beside the two signals that no call can do without.
#pragma once

#include "host/server.h"

namespace vorlix::tool {

struct RoundTrip {
  double call = 0;  // microseconds, the median of a few turns
  double signals = 0;
};

/// Throws as host::Server::Call does, and std::system_error when no further process can be started.
RoundTrip MeasureRoundTrip(host::Server& server);

}  // namespace vorlix::tool
