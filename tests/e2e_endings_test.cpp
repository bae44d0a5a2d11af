// The server or its host is ended at random instants, from the start on and in the middle of calls: both go, with the
// right status, files are old or new, and nothing is left behind.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "host/csdx.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

namespace fs = std::filesystem;

/// What the host tells the test, in memory that both have.
struct Progress {
  std::atomic<pid_t> server;
  std::atomic<int> rounds;  // of its calls
};

class Endings : public testing::Test {
 protected:
  Endings() {
    mkdtemp(dir_.data());
    std::ofstream(dir_ + "/ini") << bulk_ << "K=a\n";
    // Whatever becomes of the host, its server comes to this process in the end, which can wait for it.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    void* memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    progress_ = new (memory) Progress;
  }
  ~Endings() override {
    munmap(progress_, sizeof(Progress));
    fs::remove_all(dir_);
  }

  /// A host that makes calls of many kinds until its server ends. Its exit status is 0 if that is how it ended.
  [[noreturn]] void RunHost(const Ending& expected) const {
    const std::string ini = dir_ + "/ini";
    const std::string dictionary = VORLIX_EXAMPLES "/dict/bestellung.dic";
    try {
      ServerOptions options = test::TestServer();
      options.segment_size = segment_size_;
      Server server(options);
      progress_->server = server.Pid();
      for (;; ++progress_->rounds) {
        server.Call("ini_SetString", {Text(""), Text("K"), Text(progress_->rounds % 2 == 0 ? "b" : "a"), Text(ini)});
        server.Call("dict_Open", {Text("D"), Text(dictionary), Int(1), IntRef()});
        server.Call("dict_CloseAll");
        server.Call("v_Set", {Text("name"), Text(bulk_)});
        server.Call("dll_SetLocale", {Text("LANG=C")});
        FetchTransfer(server);
      }
    } catch (const ServerError& error) {
      _exit(error.HowEnded() == expected ? 0 : 1);
    }
  }

  pid_t StartHost(const Ending& expected) const {
    progress_->server = 0;
    progress_->rounds = 0;
    const pid_t host = fork();
    if (host == 0) RunHost(expected);
    return host;
  }

  /// Waits until the host and its server have ended. Gives their statuses, or -1 for what is still there after a while.
  std::set<int> AwaitEnds() const {
    std::set<int> statuses;
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    for (int status; Clock::now() < deadline; usleep(100)) {
      const pid_t ended = waitpid(-1, &status, WNOHANG);
      if (ended > 0) statuses.insert(status);
      if (ended < 0) return statuses;
    }
    if (progress_->server > 0) kill(progress_->server, SIGKILL);
    statuses.insert(-1);
    return statuses;
  }

  /// Whether there is a segment of this test, which has a size of its own.
  bool HasSegment() const {
    std::ifstream list("/proc/sysvipc/shm");
    std::string line, key, id, permissions;
    std::getline(list, line);
    for (size_t size; list >> key >> id >> permissions >> size; std::getline(list, line))
      if (size == segment_size_) return true;
    return false;
  }

  std::string Contents() const {
    std::ifstream file(dir_ + "/ini");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const std::string bulk_ = std::string(200'000, '\n');
  const size_t segment_size_ = (size_t{1} << 20) + static_cast<size_t>(getpid());
  std::string dir_ = "/tmp/vorlix-endings-XXXXXX";
  Progress* progress_;
};

TEST_F(Endings, LeaveNothingHalfDone) {
  const struct {
    const char* what;
    int signal;
    bool to_host;
    int times;
    Ending server;
    std::set<int> statuses;  // that the processes may have which the test waits for
    bool may_leave_files;    // a temporary file
  } ROWS[] = {
      {"SIGTERM to the server", SIGTERM, false, 200, {0, 0}, {0}, false},
      {"SIGKILL to the server", SIGKILL, false, 40, {-1, SIGKILL}, {0}, true},
      // A server that comes too late for the segment says so, often to a pipe that nobody reads any more.
      {"SIGKILL to the host", SIGKILL, true, 200, {}, {SIGKILL, 0, W_EXITCODE(2, 0), SIGPIPE}, false},
  };
  std::mt19937 random{std::random_device{}()};
  // The time that a host takes to start its server and to make all its calls a few times.
  const auto start = Clock::now();
  const pid_t first = StartHost({});
  while (progress_->rounds < 4 && Clock::now() < start + std::chrono::seconds(60)) usleep(100);
  std::uniform_int_distribution<Clock::rep> instants(0, (Clock::now() - start).count());
  kill(first, SIGKILL);
  AwaitEnds();
  for (const auto& row : ROWS)
    for (int i = 0; i < row.times; ++i) {
      const auto instant = Clock::now() + Clock::duration(instants(random));
      const pid_t host = StartHost(row.server);
      while (Clock::now() < instant || (!row.to_host && progress_->server == 0)) usleep(10);
      SCOPED_TRACE(row.what + (": " + std::to_string(i)) + ", calls " + std::to_string(progress_->rounds));
      kill(row.to_host ? host : progress_->server.load(), row.signal);
      for (const int status : AwaitEnds()) EXPECT_TRUE(row.statuses.contains(status)) << status;
      EXPECT_FALSE(HasSegment());
      const std::string now = Contents();
      ASSERT_TRUE(now == bulk_ + "K=a\n" || now == bulk_ + "K=b\n") << now.size();
      for (const auto& entry : fs::directory_iterator(dir_))
        if (entry.path().filename() != "ini") {
          EXPECT_TRUE(row.may_leave_files) << entry.path();
          fs::remove(entry);
        }
    }
}

}  // namespace
}  // namespace vorlix::host
