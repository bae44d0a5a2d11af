// The life of a server process. Between fork and exec the child only makes system calls, for the program may have other
// threads; the process is signalled and reaped through its pidfd, so its id cannot come to mean another process.
#include "host/process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>

namespace vorlix::host {
namespace {

constexpr const char* SERVER_NAME = "vorlix.dll";
constexpr size_t PIPE_CHUNK = size_t{64} * 1024;

// How long a wait for an answer goes before it looks whether the server has ended, and how long when standard error is
// captured: the server stands still when the pipe is full.
constexpr std::chrono::milliseconds LOOK_AROUND{20};
constexpr std::chrono::milliseconds LOOK_AROUND_CAPTURING{1};

sigset_t SignalSet(std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  return set;
}

// What could not be done, with the limit that is in the way.
[[noreturn]] void ThrowSystemError(const std::string& what) {
  const char* const limit = errno == EMFILE   ? " (ulimit -n bounds those of a process)"
                            : errno == ENFILE ? " (sysctl fs.file-max bounds those of the system)"
                            : errno == EAGAIN ? " (ulimit -u bounds the processes of a user)"
                                              : "";
  throw std::system_error(errno, std::generic_category(), what + limit);
}

std::string WhyNotExecutable(const std::string& program, int error) {
  struct stat status {};
  if (error != EACCES || stat(program.c_str(), &status) != 0) return "";
  return S_ISDIR(status.st_mode) ? "; it is a directory" : "; is it executable (chmod +x)?";
}

// Pipe ends are not inherited by the server: {reading, writing}.
std::array<Descriptor, 2> MakePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) ThrowSystemError("pipe2");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// The strings as the null-terminated array of pointers that exec takes; borrows them.
std::vector<char*> Pointers(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  for (std::string& string : strings) pointers.push_back(string.data());
  pointers.push_back(nullptr);
  return pointers;
}

// A later change of a variable replaces an earlier one.
std::vector<std::string> ChangedEnvironment(const EnvironmentChanges& changes) {
  std::vector<std::string> result;
  for (char** variable = environ; *variable != nullptr; ++variable) result.emplace_back(*variable);
  for (const auto& [name, value] : changes) {
    std::string start = name + "=";
    std::erase_if(result, [&](const std::string& variable) { return variable.starts_with(start); });
    if (value.has_value()) result.push_back(start += *value);
  }
  return result;
}

// What the child needs, made ready before the fork.
struct Launch {
  const char* program;
  char** args;
  char** environment;
  int error_end;   // becomes standard error; -1: it stays
  int report_end;  // takes errno when the program cannot be executed; closed by a successful exec
};

// Puts the pipe at descriptor 2. It may have got that number when the host has no standard error of its own.
void ConnectStandardError(int error_end) {
  if (error_end == STDERR_FILENO)
    fcntl(error_end, F_SETFD, 0);
  else
    dup2(error_end, STDERR_FILENO);
}

[[noreturn]] void RunServer(const Launch& launch) {
  for (int signal = 1; signal < NSIG; ++signal) std::signal(signal, SIG_DFL);
  if (launch.error_end >= 0) ConnectStandardError(launch.error_end);
  const sigset_t kept_pending = SignalSet({SIGUSR2, SIGTERM});
  sigprocmask(SIG_SETMASK, &kept_pending, nullptr);
  execve(launch.program, launch.args, launch.environment);
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(launch.report_end, &error, sizeof error);
  _exit(EXIT_FAILURE);
}

// Forks with all signals blocked, so that no handler of the host can run in the child.
pid_t ForkServer(const Launch& launch) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  const pid_t pid = fork();
  if (pid == 0) RunServer(launch);
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  errno = error;
  return pid;
}

// The errno that exec failed with, 0 when the program runs.
int ExecError(int report_end) {
  int error = 0;
  ssize_t count = 0;
  do count = read(report_end, &error, sizeof error);
  while (count < 0 && errno == EINTR);
  return count == sizeof error ? error : 0;
}

timespec TimeBetween(Clock::time_point now, Clock::time_point deadline) {
  const auto rest = std::max(deadline - now, Clock::duration::zero());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(rest);
  return {seconds.count(), std::chrono::nanoseconds(rest - seconds).count()};
}

// What all threads have together: how many of them ignore answers, and whether that changed anything.
std::mutex ignoring;
int ignoring_count = 0;
bool ignoring_since_then = false;

sighandler_t HandlerOfAnswers() {
  struct sigaction action {};
  sigaction(SIGUSR2, nullptr, &action);
  return action.sa_handler;
}

}  // namespace

AnswersIgnored::AnswersIgnored() {
  const std::lock_guard lock(ignoring);
  if (ignoring_count++ > 0) return;
  ignoring_since_then = HandlerOfAnswers() == SIG_DFL;
  if (ignoring_since_then) std::signal(SIGUSR2, SIG_IGN);
}

// Where the program blocks the signal, one is pending: it goes when the signal is ignored anew.
AnswersIgnored::~AnswersIgnored() {
  const std::lock_guard lock(ignoring);
  if (--ignoring_count > 0 || !ignoring_since_then || HandlerOfAnswers() != SIG_IGN) return;
  std::signal(SIGUSR2, SIG_IGN);
  std::signal(SIGUSR2, SIG_DFL);
}

std::string FindServerProgram() {
  namespace fs = std::filesystem;
  std::error_code ignored;
  const fs::path here = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  std::vector<fs::path> places = {here, here.parent_path() / "libexec"};
  const char* path = std::getenv("PATH");
  for (std::string_view rest = path != nullptr ? path : ""; !rest.empty();) {
    const size_t colon = std::min(rest.find(':'), rest.size());
    places.emplace_back(rest.substr(0, colon));
    rest.remove_prefix(std::min(colon + 1, rest.size()));
  }
  for (const fs::path& place : places) {
    const fs::path program = place / SERVER_NAME;
    if (fs::is_regular_file(program, ignored) && access(program.c_str(), X_OK) == 0) return program;
  }
  throw ServerError(Failure::NoServer, std::string(SERVER_NAME) + " is neither in " + here.string() + " nor in " +
                                           places[1].string() + " nor on the PATH");
}

Process::Process(const std::string& program, const std::vector<std::string>& args, const EnvironmentChanges& changes,
                 StandardError standard_error) {
  Descriptor error_input;
  if (standard_error == StandardError::Capture) {
    auto [reading, writing] = MakePipe();
    fcntl(reading.Get(), F_SETFL, O_NONBLOCK);
    error_output_ = std::move(reading);
    error_input = std::move(writing);
  }
  Start(program, args, changes, error_input.Get());
}

void Process::Start(const std::string& program, const std::vector<std::string>& args, const EnvironmentChanges& changes,
                    int error_end) {
  std::vector<std::string> all_args = {program};
  all_args.insert(all_args.end(), args.begin(), args.end());
  std::vector<std::string> environment = ChangedEnvironment(changes);
  auto [report, report_input] = MakePipe();
  pid_ = ForkServer(
      {program.c_str(), Pointers(all_args).data(), Pointers(environment).data(), error_end, report_input.Get()});
  if (pid_ < 0) ThrowSystemError("fork");
  report_input = Descriptor();
  const int error = ExecError(report.Get());
  if (error != 0) {
    waitpid(pid_, nullptr, 0);
    throw ServerError(Failure::NoServer,
                      "cannot start " + program + ": " + std::strerror(error) + WhyNotExecutable(program, error));
  }
  pidfd_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  if (pidfd_.Get() < 0) {
    const int open_error = errno;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    errno = open_error;
    ThrowSystemError("pidfd_open");
  }
}

Process::~Process() {
  if (owner_.Look() == Owner::Hold::OfAnother) return;
  try {
    End();
  } catch (const std::exception&) {
    Signal(SIGKILL);  // nobody is left to be told
  }
}

void Process::Signal(int signal) {
  if (!ending_.has_value()) syscall(SYS_pidfd_send_signal, pidfd_.Get(), signal, nullptr, 0);
}

// The look goes by the clock, between slices of the wait: to look with every call would cost it a tenth more.
Clock::time_point Process::Watch(Clock::time_point now) {
  if (now >= next_look_) {
    LookAround(now);
    next_look_ = now + (error_output_.Get() < 0 ? LOOK_AROUND : LOOK_AROUND_CAPTURING);
  }
  return next_look_;
}

void Process::LookAround(Clock::time_point deadline) {
  if (ending_.has_value()) return;  // a process is reaped once
  std::array<pollfd, 2> sources = {pollfd{pidfd_.Get(), POLLIN, 0}, pollfd{error_output_.Get(), POLLIN, 0}};
  const auto& [end, error_output] = sources;
  const timespec rest = TimeBetween(Clock::now(), deadline);
  const int ready = ppoll(sources.data(), sources.size(), &rest, nullptr);
  if (ready < 0 && errno != EINTR) ThrowSystemError("ppoll");
  if (ready > 0 && error_output.revents != 0) ReadStandardError();
  if (ready > 0 && end.revents != 0) Reap();
}

bool Process::AwaitEnd(Clock::time_point deadline) {
  while (!ending_.has_value()) {  // it can be known already
    LookAround(deadline);
    if (Clock::now() >= deadline) break;
  }
  return ending_.has_value();
}

Ending Process::End(std::chrono::milliseconds patience) {
  Signal(SIGTERM);
  Signal(SIGCONT);  // a process that has been stopped would not see it
  if (!AwaitEnd(Clock::now() + patience)) {
    Signal(SIGKILL);
    AwaitEnd(Clock::time_point::max());
  }
  return *ending_;
}

void Process::Reap() {
  siginfo_t info{};
  ending_.emplace();
  if (waitid(P_PIDFD, static_cast<id_t>(pidfd_.Get()), &info, WEXITED) == 0)
    (info.si_code == CLD_EXITED ? ending_->exit_status : ending_->signal) = info.si_status;
  while (ReadStandardError()) continue;
}

// Takes one piece out of the pipe; false when it is empty for now or for good.
bool Process::ReadStandardError() {
  if (error_output_.Get() < 0) return false;
  const size_t before = captured_.size();
  captured_.resize(before + PIPE_CHUNK);
  const ssize_t count = read(error_output_.Get(), captured_.data() + before, PIPE_CHUNK);
  captured_.resize(before + static_cast<size_t>(std::max<ssize_t>(count, 0)));
  if (count == 0) error_output_ = Descriptor();
  return count > 0 || (count < 0 && errno == EINTR);
}

std::string Process::TakeStandardError() {
  while (ReadStandardError()) continue;
  return std::exchange(captured_, {});
}

}  // namespace vorlix::host
