// The server started by a host that takes no care of it: a bare fork and exec, without the client library.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include "hostif/layout.h"

namespace vorlix {
namespace {

// A segment with the call l_DeleteAll in it, whatever host it names, and a server that is attached to it.
class BareServer : public testing::Test {
 protected:
  BareServer() {
    id_ = shmget(IPC_PRIVATE, 4096, 0600);
    memory_ = static_cast<char*>(shmat(id_, nullptr, 0));
    shmctl(id_, IPC_RMID, nullptr);
    Name(getpid());
    const std::string name = "l_DeleteAll";
    const auto length = static_cast<int32_t>(name.size());
    new (memory_ + DescriptorOffset(0)) ArgDescriptor{HOST_STRING, 0, 1000, 0, 0, 1};
    std::copy_n(reinterpret_cast<const char*>(&length), sizeof length, memory_ + 1000);
    std::copy(name.begin(), name.end(), memory_ + 1000 + sizeof length);
    sigset_t answers;
    sigemptyset(&answers);
    sigaddset(&answers, SIGUSR2);
    sigprocmask(SIG_BLOCK, &answers, &before_);
  }
  ~BareServer() override {
    if (server_ > 0) End();
    shmdt(memory_);
    timespec no_time{};
    sigset_t answers;
    sigemptyset(&answers);
    sigaddset(&answers, SIGUSR2);
    while (sigtimedwait(&answers, nullptr, &no_time) > 0) continue;
    sigprocmask(SIG_SETMASK, &before_, nullptr);
  }

  void Name(int32_t host) {
    new (memory_) BlockHeader{.magic = DLL_MAGIC,
                              .version = DLL_VERSION,
                              .host_pid = host,
                              .host_base = 0,
                              .result_code = -99,
                              .request_area_size = 0,
                              .request_area_address = 0,
                              .request_code = 0,
                              .arg_count = 1};
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
    const auto& result = reinterpret_cast<BlockHeader*>(memory_)->result_code;
    for (int i = 0; i < 2000 && std::atomic_ref(const_cast<int32_t&>(result)).load() == -99; ++i) {
      kill(server_, SIGUSR2);
      usleep(5000);
    }
    return result;
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

  int id_;
  char* memory_;
  pid_t server_ = -1;
  sigset_t before_;
};

TEST_F(BareServer, ClosesWhatItInheritsAndResetsWhatIsIgnored) {
  Start([] {
    for (const int number : {SIGPIPE, SIGHUP, SIGUSR1, SIGSEGV}) std::signal(number, SIG_IGN);
    signal(SIGUSR2, SIG_DFL);
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
    Name(getpid());
    Start([] { setpgid(0, 0); });
    EXPECT_EQ(Call(), 0);
    Name(host());
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
