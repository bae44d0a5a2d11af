// Both contenders run on one core, in turn: a second core that has to wake up would be measured otherwise.
#include "tools/support/roundtrip.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <system_error>

namespace vorlix::tool {
namespace {

constexpr int CALLS = 500;
constexpr size_t TURNS = 5;

// A process that answers each signal with one.
class Echo {
 public:
  Echo() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGRTMIN);
    sigprocmask(SIG_BLOCK, &signals_, &before_);
    const pid_t asker = getpid();
    child_ = fork();
    if (child_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (child_ == 0) Answer(asker);
  }
  ~Echo() {
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
    sigprocmask(SIG_SETMASK, &before_, nullptr);
  }
  Echo(const Echo&) = delete;
  Echo& operator=(const Echo&) = delete;

  void Ask() {
    constexpr timespec LONG = {5, 0};
    kill(child_, SIGRTMIN);
    if (sigtimedwait(&signals_, nullptr, &LONG) < 0) throw std::system_error(errno, std::generic_category(), "signals");
  }

 private:
  [[noreturn]] void Answer(pid_t asker) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int signal = 0; getppid() == asker;)
      if (sigwait(&signals_, &signal) == 0) kill(asker, SIGRTMIN);
    _exit(0);
  }

  sigset_t signals_{};
  sigset_t before_{};
  pid_t child_ = -1;
};

double MicrosecondsPerRound(const std::function<void()>& round) {
  const auto start = std::chrono::steady_clock::now();
  for (int k = 0; k < CALLS; ++k) round();
  return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count() / CALLS;
}

double Median(std::array<double, TURNS> turns) {
  std::ranges::sort(turns);
  return turns[TURNS / 2];
}

// Keeps this process and the server to one core while it lives.
class OneCore {
 public:
  explicit OneCore(pid_t server) : server_(server) {
    sched_getaffinity(0, sizeof before_, &before_);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(std::max(sched_getcpu(), 0)), &one);
    for (const pid_t process : {pid_t{0}, server_}) sched_setaffinity(process, sizeof one, &one);
  }
  ~OneCore() {
    for (const pid_t process : {pid_t{0}, server_}) sched_setaffinity(process, sizeof before_, &before_);
  }
  OneCore(const OneCore&) = delete;
  OneCore& operator=(const OneCore&) = delete;

 private:
  pid_t server_;
  cpu_set_t before_{};
};

}  // namespace

RoundTrip MeasureRoundTrip(host::Server& server) {
  const OneCore one_core(server.Pid());
  Echo echo;
  std::array<double, TURNS> calls{};
  std::array<double, TURNS> signals{};
  for (size_t turn = 0; turn < TURNS; ++turn) {
    calls.at(turn) = MicrosecondsPerRound([&] { server.Call("dll_Revision", {host::OutText(20)}); });
    signals.at(turn) = MicrosecondsPerRound([&] { echo.Ask(); });
  }
  return {Median(calls), Median(signals)};
}

}  // namespace vorlix::tool
