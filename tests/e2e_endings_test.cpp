// The server or its host is ended at random instants, from the start on and in the middle of calls: both go, with the
// right status, files are old or new, and nothing is left behind.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "host/csdx.h"
#include "host/server.h"
#include "tests/support/server.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::host {
namespace {

// What the host tells the test, in memory that both have.
struct Progress {
  std::atomic<pid_t> server;
  std::atomic<int> rounds;  // of its calls
};

class Endings : public testing::Test {
 protected:
  Endings() {
    tool::WriteFile(ini_, bulk_ + "K=a\n");
    // Whatever becomes of the host, its server comes to this process in the end, which can wait for it.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    void* memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    progress_ = new (memory) Progress;
  }

  // Makes calls of many kinds until the server ends. True if that is how it ended.
  bool Work(const Ending& expected) const {
    const std::string dictionary = VORLIX_EXAMPLES "/dict/bestellung.dic";
    try {
      ServerOptions options = test::TestServer();
      options.segment_size = segment_size_;
      Server server(options);
      progress_->server = server.Pid();
      for (;; ++progress_->rounds) {
        server.Call("ini_SetString", {Text(""), Text("K"), Text(progress_->rounds % 2 == 0 ? "b" : "a"), Text(ini_)});
        server.Call("dict_Open", {Text("D"), Text(dictionary), Int(1), IntRef()});
        server.Call("dict_CloseAll");
        server.Call("v_Set", {Text("name"), Text(bulk_)});
        server.Call("dll_SetLocale", {Text("LANG=C")});
        FetchTransfer(server);
      }
    } catch (const ServerError& error) {
      return error.HowEnded() == expected;
    }
  }

  // A host, whose exit status is 0 if its server ends as expected.
  pid_t StartHost(const Ending& expected) const {
    progress_->server = 0;
    progress_->rounds = 0;
    const pid_t host = fork();
    if (host == 0) _exit(Work(expected) ? 0 : 1);
    return host;
  }

  // Waits until the host and its server have ended. Gives their statuses, or -1 for what is still there after a while.
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

  // Whether there is a segment of this test, which has a size of its own.
  bool HasSegment() const {
    return tool::ReadFile("/proc/sysvipc/shm").find(" " + std::to_string(segment_size_) + " ") != std::string::npos;
  }

  const std::string bulk_ = std::string(200'000, '\n');
  const size_t segment_size_ = (size_t{1} << 24) + static_cast<size_t>(getpid());  // no process has such an id
  tool::ScratchDirectory directory_;
  const std::string ini_ = directory_.Path() + "/ini";
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
      {"SIGKILL to the host", SIGKILL, true, 10, {}, {SIGKILL, 0, W_EXITCODE(2, 0), SIGPIPE}, false},
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
      const std::string now = tool::ReadFile(ini_);
      ASSERT_TRUE(now == bulk_ + "K=a\n" || now == bulk_ + "K=b\n") << now.size();
      for (const auto& entry : std::filesystem::directory_iterator(directory_.Path()))
        EXPECT_TRUE(entry.path() == ini_ || (row.may_leave_files && std::filesystem::remove(entry))) << entry.path();
    }
}

// How many hosts are lost between calls, more in a long run.
int HostsToLose() {
  const char* const wanted = std::getenv("VORLIX_HOSTS_TO_LOSE");
  return wanted != nullptr ? std::atoi(wanted) : 20;
}

TEST_F(Endings, FollowHostsThatDieBetweenCalls) {
  std::vector<pid_t> hosts;
  progress_->rounds = 0;
  for (int i = 0; i < HostsToLose(); ++i) {
    hosts.push_back(fork());
    if (hosts.back() != 0) continue;
    ServerOptions options = test::TestServer();
    options.segment_size = segment_size_;
    Server server(options);
    server.Call("l_DeleteAll");
    ++progress_->rounds;
    for (;;) pause();
  }
  while (progress_->rounds < HostsToLose()) usleep(1000);
  EXPECT_TRUE(HasSegment());
  for (const pid_t host : hosts) kill(host, SIGKILL);
  for (const auto end = Clock::now() + std::chrono::seconds(5); HasSegment() && Clock::now() < end;) usleep(1000);
  EXPECT_FALSE(HasSegment()) << "though nobody has waited for the hosts";
  EXPECT_EQ(AwaitEnds(), (std::set<int>{0, SIGKILL}));
}

TEST_F(Endings, DoNotComeWhileTheHostGoesOn) {
  const auto goes_on = [](Server& server) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));  // a look at the host lies in between
    server.AwaitIdle();
    Block block(server.Memory(), server.GetBlock().HostBase());  // with the id of this process
    PlaceCall(block, "l_DeleteAll", {});
    return server.Ring() == 0;
  };
  const pid_t first = fork();
  if (first == 0) {
    Server server(test::TestServer());
    if (fork() == 0) _exit(goes_on(server) ? 0 : 1);
    _exit(0);  // without the destructor, which would end the server
  }
  // Meanwhile a thread that starts a server and ends.
  std::unique_ptr<Server> server;
  std::thread([&] { server = std::make_unique<Server>(test::TestServer()); }).join();
  EXPECT_TRUE(goes_on(*server));
  server.reset();
  EXPECT_EQ(AwaitEnds(), (std::set<int>{0}));
}

}  // namespace
}  // namespace vorlix::host
