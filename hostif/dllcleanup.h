// The hooks of the process shell.
#pragma once

namespace vorlix {

/// Sets the program up once the block is attached and checked; defined by the program. Returns 0, or reports on
/// standard error why the server cannot start and returns its exit status.
int dll_setup();

/// Runs at the end of the process, inside a signal handler and possibly in the middle of a call. It does nothing: all
/// that the server holds ends with its process.
void dll_cleanup();

}  // namespace vorlix
