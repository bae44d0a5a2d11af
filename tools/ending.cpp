#include "tools/ending.h"

#include <csignal>

#include "tools/failure.h"

namespace vorlix::tool {
namespace {

constexpr int SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM, SIGUSR1};

volatile std::sig_atomic_t noted = 0;

sigset_t AllOfThem() {
  sigset_t all;
  sigemptyset(&all);
  for (const int signal : SIGNALS) sigaddset(&all, signal);
  return all;
}

void Note(int signal) {
  if (noted == 0) noted = signal;
}

}  // namespace

void NoteEndingSignals() {
  struct sigaction action {};
  action.sa_handler = Note;
  for (const int signal : SIGNALS) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);  // as nohup has it
  }
  const sigset_t all = AllOfThem();
  sigprocmask(SIG_UNBLOCK, &all, nullptr);
}

void HoldEndingSignals() {
  const sigset_t all = AllOfThem();
  sigprocmask(SIG_BLOCK, &all, nullptr);
}

int EndingSignal() { return noted; }

void ForgetEndingSignal() { noted = 0; }

void EndIfSignalled() {
  if (noted != 0) throw ToolError(Status::OtherCode, "interrupted");
}

}  // namespace vorlix::tool
