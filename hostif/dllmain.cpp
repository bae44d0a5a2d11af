// The server process: start-up, the signal loop, the end.
//
// SIGUSR2 is blocked for good and taken by sigtimedwait, so calls never nest; one that comes meanwhile waits for its
// turn. A handler would do the same, and make a round trip a sixth longer. SIGTERM alone has one, and may interrupt a
// call at any instant: its handler does nothing that is not safe then, so it ends the process with _exit; every other
// part of the server writes its files without buffers of its own.
//
// A host that dies while no call is under way cannot say so. While it waits, the server looks now and then whether its
// host is gone and nobody else has the segment attached: then nobody can ever call it again, and it ends as SIGTERM
// ends it. A host that goes on in a child of its own, or has not yet written its id, still has the segment attached.
#include <fcntl.h>
#include <poll.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "hostif/dllcleanup.h"
#include "hostif/dllif.h"
#include "hostif/dllifutil.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

constexpr int EXIT_BAD_CALL = 2;
constexpr int LAST_SIGNAL = 31;

// Between two looks at the host.
constexpr timespec LOOK_INTERVAL = {2, 0};

void* attached = nullptr;
int segment = -1;

void ResetDispositions() {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigemptyset(&action.sa_mask);
  for (int number = 1; number <= LAST_SIGNAL; ++number)
    if (number != SIGTERM) sigaction(number, &action, nullptr);
}

// Closes all descriptors but standard error. The loop is for kernels that cannot close a range: with a limit of a
// billion descriptors it would take minutes.
void CloseInherited() {
  close(STDIN_FILENO);
  close(STDOUT_FILENO);
  if (close_range(STDERR_FILENO + 1, UINT_MAX, 0) == 0) return;
  const long limit = sysconf(_SC_OPEN_MAX);
  for (int descriptor = STDERR_FILENO + 1; descriptor < limit; ++descriptor) close(descriptor);
}

// A server that was started without standard error gets an empty one. Else the third file that it opens would take
// that descriptor, and the trace would be written into it.
void KeepStandardError() {
  if (fcntl(STDERR_FILENO, F_GETFD) >= 0) return;
  const int nowhere = open("/dev/null", O_WRONLY);
  if (nowhere >= 0 && dup2(nowhere, STDERR_FILENO) != nowhere) close(nowhere);
}

// Attaches the segment and checks that it is a call block of this version. Returns 0 or an exit status.
int AttachBlock(int identifier) {
  shmid_ds status;
  segment = identifier;
  attached = shmat(identifier, nullptr, 0);
  if (attached == reinterpret_cast<void*>(-1) || shmctl(identifier, IPC_STAT, &status) != 0) {
    std::perror("shmat");
    return EXIT_BAD_CALL;
  }
  BlockHeader header{};
  if (status.shm_segsz >= sizeof header) std::memcpy(&header, attached, sizeof header);
  if (header.magic != DLL_MAGIC) {
    std::fputs("Illegal DLL_MAGIC\n", stderr);
    return EXIT_BAD_CALL;
  }
  if (header.version != DLL_VERSION) {
    std::fputs("Illegal DLL_VERSION\n", stderr);
    return EXIT_BAD_CALL;
  }
  DllSetBlock(attached, status.shm_segsz);
  return 0;
}

// Tells the host that its call is done. Only a process that is neither this one nor a group of processes can be a host.
bool AnswerHost(pid_t host) {
  static const pid_t self = getpid();
  return host > 0 && host != self && kill(host, SIGUSR2) == 0;
}

extern "C" void HandleEnd(int) {
  TellOfEnd();
  shmdt(attached);
  dll_cleanup();
  _exit(EXIT_SUCCESS);
}

// Lets SIGTERM through to its handler from now on, also where the host started the server with it blocked, and the
// signals in `held` not.
void InstallEnd(const sigset_t& held) {
  struct sigaction action {};
  action.sa_handler = HandleEnd;
  action.sa_flags = SA_RESTART;
  sigaction(SIGTERM, &action, nullptr);
  sigprocmask(SIG_SETMASK, &held, nullptr);
}

// Whether no other process with this id runs. One that has ended and has not been waited for does not run any more.
bool HasEnded(pid_t host) {
  if (host <= 0 || host == getpid()) return true;
  const auto pidfd = static_cast<int>(syscall(SYS_pidfd_open, host, 0));
  if (pidfd < 0) return errno == ESRCH;
  pollfd end = {pidfd, POLLIN, 0};
  const bool ended = poll(&end, 1, 0) == 1;
  close(pidfd);
  return ended;
}

bool IsLeftAlone() {
  shmid_ds status;
  if (shmctl(segment, IPC_STAT, &status) != 0 || status.shm_nattch != 1) return false;
  DllReadHeader();
  return HasEnded(DllHostPid());
}

[[noreturn]] void ServeCalls() {
  sigset_t calls;
  sigemptyset(&calls);
  sigaddset(&calls, SIGUSR2);
  for (;;) {
    if (sigtimedwait(&calls, nullptr, &LOOK_INTERVAL) == SIGUSR2) {
      DllSetResult(DllCall());
      if (!AnswerHost(DllHostPid())) raise(SIGTERM);
      DllWakeWaiting();
    } else if (errno == EAGAIN && IsLeftAlone()) {
      raise(SIGTERM);
    }
  }
}

}  // namespace
}  // namespace vorlix

int main(int argc, char** argv) {
  using namespace vorlix;
  if (argc != 2) {
    std::fprintf(stderr, "%s: Illegal call\n", argv[0]);
    return EXIT_BAD_CALL;
  }
  const long number = std::strtol(argv[1], nullptr, 10);
  // Before the segment is attached, by which a host that cannot have SIGUSR2 blocked at the start knows that it is now.
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : {SIGINT, SIGUSR2, SIGIO, SIGALRM}) sigaddset(&held, signal);
  sigprocmask(SIG_BLOCK, &held, nullptr);
  ResetDispositions();
  CloseInherited();
  KeepStandardError();
  int status = AttachBlock(static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX)));
  if (status == 0) status = dll_setup();
  if (status != 0) return status;
  InstallEnd(held);
  ServeCalls();
}
