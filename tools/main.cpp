// The program `vorlix`: calls functions of the server from a command line, a script or a shell.
#include <cstdio>

#include "tools/commandline.h"
#include "tools/ending.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

Status Run(int argc, char** argv) {
  CommandLine line;
  try {
    line.Parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return line.Explain(error);
  }
  return line.Execute();
}

// A result that nobody can read, for the disk is full, is no success.
Status Main(int argc, char** argv) {
  const Status status = Run(argc, argv);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw ToolError(Status::OtherCode, "cannot write to standard output");
  return status;
}

// After a signal there is nothing to explain.
int Guard(int argc, char** argv) {
  try {
    return static_cast<int>(Main(argc, argv));
  } catch (const std::exception& error) {
    const bool was_late = StatusOf(error) == Status::Timeout;
    if (EndingSignal() == 0) Tell(std::string(error.what()) + (was_late ? "; --timeout SECONDS waits longer" : ""));
    return static_cast<int>(StatusOf(error));
  }
}

}  // namespace
}  // namespace vorlix::tool

int main(int argc, char** argv) {
  using namespace vorlix::tool;
  NoteEndingSignals();
  const int status = Guard(argc, argv);
  return EndingSignal() != 0 ? 128 + EndingSignal() : status;
}
