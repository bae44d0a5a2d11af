// The signals that end the program: they are noted, so that it can tidy up and end with their status.
#pragma once

namespace vorlix::tool {

/// Notes the signals that end a program, such as SIGINT and SIGTERM, from now on. They interrupt system calls that
/// wait.
void NoteEndingSignals();

/// Holds them back for the program that takes this one's place: they come once that notes them.
void HoldEndingSignals();

/// The first of them that has come, 0 for none.
int EndingSignal();

/// Forgets it: the program goes on.
void ForgetEndingSignal();

/// Throws ToolError when one has come.
void EndIfSignalled();

}  // namespace vorlix::tool
