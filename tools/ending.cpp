#include "tools/ending.h"

#include <csignal>

#include "tools/failure.h"

namespace vorlix::tool {
namespace {

volatile std::sig_atomic_t noted = 0;

void Note(int signal) {
  if (noted == 0) noted = signal;
}

}  // namespace

void NoteEndingSignals() {
  struct sigaction action {};
  action.sa_handler = Note;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);  // as nohup has it
  }
}

int EndingSignal() { return noted; }

void ForgetEndingSignal() { noted = 0; }

void EndIfSignalled() {
  if (noted != 0) throw ToolError(Status::OtherCode, "interrupted");
}

}  // namespace vorlix::tool
