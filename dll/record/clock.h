// The time in a recording: calls that ask for it are played with the time that they were given.
#pragma once

#include <string>

namespace vorlix {

/// From now on the clock notes what it tells.
void NoteTimes();

/// Appends the line of a script that sets the clock to what it told since the last call of this; nothing when nobody
/// asked. Throws std::bad_alloc.
void AppendClock(std::string& out);

/// Has the clock go by a file, which holds a time as "2026-11-23 22:07:57", each time that it is asked. While there is
/// none, it goes by the system. The path is borrowed.
void GoByClockFile(const char* path);

}  // namespace vorlix
