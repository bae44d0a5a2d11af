// The server started by a host that takes no care of it: a bare fork and exec, without the client library.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include "host/call.h"
#include "host/process.h"
#include "hostif/layout.h"

namespace vorlix {
namespace {

// A segment with the call l_DeleteAll in it, and a server that is attached to it.
class BareServer : public testing::Test {
 protected:
  BareServer()
      : id_(shmget(IPC_PRIVATE, SIZE, 0600)),
        memory_(static_cast<std::byte*>(shmat(id_, nullptr, 0))),
        block_({memory_, SIZE}, 0) {
    shmctl(id_, IPC_RMID, nullptr);
    host::PlaceCall(block_, "l_DeleteAll", {});
  }
  ~BareServer() override {
    if (server_ > 0) End();
    shmdt(memory_);
  }

  // `prepare` runs between fork and exec.
  void Start(const std::function<void()>& prepare = [] {}) {
    server_ = fork();
    if (server_ != 0) return;
    prepare();
    execl(VORLIX_SERVER, VORLIX_SERVER, std::to_string(id_).c_str(), nullptr);
    _exit(99);
  }
  // Rings until the server has answered; the first signals come before it waits for any.
  int32_t Call() {
    block_.StoreResult(NO_RESULT);
    for (int i = 0; i < 2000 && block_.LoadResult() == NO_RESULT; ++i) {
      kill(server_, SIGUSR2);
      usleep(5000);
    }
    return block_.LoadResult();
  }
  std::string Status(const std::string& line) const {
    std::ifstream status("/proc/" + std::to_string(server_) + "/status");
    for (std::string text; std::getline(status, text);)
      if (text.starts_with(line)) return text.substr(line.size());
    return "";
  }
  int End() {
    int status = -1;
    kill(server_, SIGTERM);
    waitpid(server_, &status, 0);
    server_ = -1;
    return status;
  }

  static constexpr size_t SIZE = 4096;
  const host::AnswersIgnored answers_ignored_;
  const int id_;
  std::byte* const memory_;
  host::Block block_;
  pid_t server_ = -1;
};

TEST_F(BareServer, ClosesWhatItInheritsAndResetsWhatIsIgnored) {
  Start([] {
    for (const int number : {SIGPIPE, SIGHUP, SIGUSR1, SIGSEGV}) std::signal(number, SIG_IGN);
    for (int fd = 3; fd < 40; ++fd) dup2(STDERR_FILENO, fd);
  });
  EXPECT_EQ(Call(), 0);
  EXPECT_EQ(Status("SigIgn:\t"), "0000000000000000");
  std::string open;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(server_) + "/fd"))
    open += entry.path().filename().string() + " ";
  EXPECT_EQ(open, "2 ");
  EXPECT_EQ(End(), 0);
}

// The signal would go to a group of processes, or to the server again and again. The group is one of the server's own:
// with -1 a server that is wrong would signal every process of the machine.
TEST_F(BareServer, AnswersNobodyButAProcess) {
  const std::pair<const char*, std::function<int32_t()>> HOSTS[] = {
      {"its own group", [] { return 0; }},
      {"a group", [this] { return -server_; }},
      {"the server", [this] { return server_; }},
  };
  for (const auto& [what, host] : HOSTS) {
    block_.Store(0, block_.MakeHeader(1));
    Start([] { setpgid(0, 0); });
    EXPECT_EQ(Call(), 0);
    block_.Store(offsetof(BlockHeader, host_pid), host());
    kill(server_, SIGUSR2);
    int status = -1;
    for (int i = 0; i < 400 && waitpid(server_, &status, WNOHANG) == 0; ++i) usleep(5000);
    EXPECT_EQ(status, 0) << what;
    if (status == -1) End();
    server_ = -1;
  }
}

}  // namespace
}  // namespace vorlix
