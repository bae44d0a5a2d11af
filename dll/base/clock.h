// The time of day, for fields that show the moment.
#pragma once

#include <ctime>

namespace vorlix {

/// Tells the local time.
using LocalTime = std::tm (*)();

/// The local time as the system has it.
std::tm SystemTime();

/// The local time by the clock that is in force: the system's, unless there is another.
std::tm LocalTimeNow();
void SetClock(LocalTime clock);

}  // namespace vorlix
