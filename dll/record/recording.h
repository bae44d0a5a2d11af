// The recording of a server: what it was called with and what it answered, as a script that `vorlix run` plays.
#pragma once

namespace vorlix {

/// Does what the environment says, before the language is chosen:
///   VORLIX_DEBUG=LEVEL     the call trace, as dll_Debug turns it on
///   VORLIX_FLAGS=FLAGS     the category trace on standard error, as dll_SetDebugFlags turns it on
///   VORLIX_RECORD=FILE     records all calls; "%p" in the name is the process id
///   VORLIX_RECORD_MAX=SIZE the most bytes of a recording, as 500000, 20K, 64M or 1G; 256M by default
///   VORLIX_CLOCK=FILE      the time of day is what stands in the file, see clock.h
/// What cannot be done is said on standard error, and changes nothing else. Traces go into the recording as well.
void StartRecordingFromEnvironment();

}  // namespace vorlix
