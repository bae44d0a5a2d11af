// The server as a process: start-up and its failures, signals at any time, time-outs, death.
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

using std::chrono::milliseconds;
using test::TestServer;

// The failure of an action that has to fail.
ServerError FailureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const ServerError& error) {
    return error;
  }
  return {Failure::NoServer, "nothing failed"};
}

std::string Get(Server& server, const char* name) {
  return server.Call("v_Get", {Text(name), OutText(100)}).args[1].TextAt();
}

// Does to a process, a little later, what its host cannot do while it waits.
std::jthread SignalLater(pid_t process, int signal) {
  return std::jthread([=] {
    std::this_thread::sleep_for(milliseconds(50));
    kill(process, signal);
  });
}

TEST(StartUp, ChecksTheHeader) {
  for (const auto& [wrong, standard_error] :
       {std::pair(0, "Illegal DLL_MAGIC\n"), {7, "Illegal DLL_MAGIC\n"}, {8, "Illegal DLL_VERSION\n"}}) {
    Segment segment(4096);
    Block block(segment.Memory(), 0);
    block.Store(0, block.MakeHeader(0));
    block.Store(size_t(wrong), '!');
    Process process(VORLIX_SERVER, {std::to_string(segment.Id())}, TestServer().environment, StandardError::Capture);
    EXPECT_TRUE(process.AwaitEnd(Clock::now() + std::chrono::seconds(10))) << wrong;
    EXPECT_EQ(process.End(), (Ending{2, 0})) << wrong;
    EXPECT_EQ(process.TakeStandardError(), standard_error);
  }
}

// Starts a server, calls it and ends it: 0, or how far that came.
int Talk(StandardError standard_error) {
  ServerOptions options = TestServer();
  options.standard_error = standard_error;
  Server server(options);
  if (server.Call("dll_Debug", {Int(1)}).code != 0) return 1;
  const auto output = std::filesystem::read_symlink("/proc/" + std::to_string(server.Pid()) + "/fd/2");
  const bool captured = standard_error == StandardError::Capture;
  if (captured ? server.TakeStandardError() != "return code is 0\n" : output != "/dev/null") return 2;
  const Ending ending = server.End();
  return ending == Ending{0, 0} || ending == Ending{} ? 0 : 3;
}

TEST(StartUp, WorksInHostsOfAllKinds) {
  const auto close_from = [](int first) {
    for (int fd = first; fd <= STDERR_FILENO; ++fd) close(fd);
    return StandardError::Capture;
  };
  const std::pair<const char*, std::function<StandardError()>> ROWS[] = {
      {"without standard descriptors", [&] { return close_from(0); }},
      {"without output", [&] { return close_from(1); }},
      {"without standard error", [&] { return close_from(2); }},
      // No file that the server opens may take its place and receive the trace.
      {"without one for the server either", [&] { return close_from(2), StandardError::Inherit; }},
      {"with its children reaped by the kernel", [] { return std::signal(SIGCHLD, SIG_IGN), StandardError::Capture; }},
      {"that ignores and blocks signals",
       [] {
         sigset_t all;
         sigfillset(&all);
         sigprocmask(SIG_SETMASK, &all, nullptr);
         for (const int number : {SIGUSR2, SIGTERM, SIGPIPE}) std::signal(number, SIG_IGN);
         return StandardError::Capture;
       }},
  };
  for (const auto& [what, prepare] : ROWS) {
    const pid_t host = fork();
    if (host == 0) _exit(Talk(prepare()));
    int status = -1;
    waitpid(host, &status, 0);
    EXPECT_EQ(status, 0) << "in a host " << what;
  }
}

TEST(Threads, EachWithServersOfItsOwn) {
  std::atomic<int> waiting = 4;
  std::vector<std::jthread> threads;  // in which SIGUSR2 is not blocked
  for (int number = 0; number < 4; ++number)
    threads.emplace_back([number, &waiting] {
      Server first(TestServer());
      Server second(TestServer());
      for (--waiting; waiting > 0;) std::this_thread::yield();
      const auto start = Clock::now();
      for (int i = 0; i < 250; ++i) {
        if (i % 3 == 0) raise(SIGUSR2);
        const std::string value = std::to_string(1000 * number + i);
        first.Call("v_Set", {Text("number"), Text(value)});
        second.Call("v_Set", {Text("number"), Text("-" + value)});
        EXPECT_EQ(Get(first, "number") + Get(second, "number"), value + "-" + value);
      }
      EXPECT_LT(Clock::now() - start, std::chrono::seconds(5)) << "no answer is waited for longer than it takes";
    });
}

TEST(Threads, ShareAServerInTurn) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(0)});
  kill(server.Pid(), SIGSTOP);
  std::jthread user([&] { server.Call("v_Set", {Text("a"), Text("of another thread")}); });
  std::this_thread::sleep_for(milliseconds(50));
  const std::function<void()> USES[] = {[&] { server.Call("l_DeleteAll"); },
                                        [&] { server.Ring(); },
                                        [&] { server.AwaitIdle(); },
                                        [&] { server.End(); },
                                        [&] { server.SetTimeout(milliseconds(1)); },
                                        [&] { server.TakeStandardError(); }};
  for (const auto& use : USES) EXPECT_EQ(FailureOf(use).Kind(), Failure::Busy);
  kill(server.Pid(), SIGCONT);
  user.join();
  EXPECT_EQ(Get(server, "a"), "of another thread");
}

TEST(Fork, LeavesTheServerToItsParent) {
  auto server = std::make_unique<Server>(TestServer());
  const pid_t child = fork();
  if (child == 0) {
    const bool refused = FailureOf([&] { server->Call("l_DeleteAll"); }).Kind() == Failure::Busy &&
                         FailureOf([&] { server->End(); }).Kind() == Failure::Busy;
    server.reset();
    _exit(refused ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(server->Call("l_DeleteAll").code, 0);
}

// A host that goes into the background.
TEST(Fork, HandsTheServerToTheChildThatIsLeft) {
  std::array<int, 2> report{};
  ASSERT_EQ(pipe(report.data()), 0);
  const pid_t host = fork();
  if (host == 0) {
    Server server(TestServer());
    server.Call("v_Set", {Text("a"), Text("of the parent")});
    if (fork() != 0) _exit(0);
    std::string value;
    for (int k = 0; k < 500 && value.empty(); ++k) {
      std::this_thread::sleep_for(milliseconds(10));
      try {
        value = Get(server, "a");
      } catch (const ServerError& error) {
        if (error.Kind() != Failure::Busy) value = error.what();
      }
    }
    value += kill(server.Pid(), 0) == 0 ? ", served" : "";
    server.End();
    value += FailureOf([&] { server.Call("l_DeleteAll"); }).Kind() == Failure::Died ? ", ended" : "";
    _exit(write(report[1], value.data(), value.size()) > 0 ? 0 : 1);
  }
  close(report[1]);
  waitpid(host, nullptr, 0);
  std::array<char, 200> told{};
  const ssize_t size = read(report[0], told.data(), told.size());
  EXPECT_EQ(std::string(told.data(), static_cast<size_t>(std::max<ssize_t>(size, 0))), "of the parent, served, ended");
  close(report[0]);
}

TEST(Signals, AreIgnoredAsLongAsThereAreServers) {
  const auto handler = [] {
    struct sigaction action {};
    sigaction(SIGUSR2, nullptr, &action);
    return action.sa_handler;
  };
  sigset_t answers;
  sigemptyset(&answers);
  sigaddset(&answers, SIGUSR2);
  for (const bool blocked : {false, true}) {
    if (blocked) sigprocmask(SIG_BLOCK, &answers, nullptr);
    Server outer(TestServer());
    { Server inner(TestServer()); }
    EXPECT_EQ(handler(), SIG_IGN);
    outer.Call("l_DeleteAll");
    raise(SIGUSR2);
  }
  sigprocmask(SIG_UNBLOCK, &answers, nullptr);
  EXPECT_EQ(handler(), SIG_DFL) << "and no signal has ended this program";

  static std::atomic<int> seen = 0;
  std::signal(SIGUSR2, [](int) { ++seen; });
  { EXPECT_EQ(Server(TestServer()).Call("l_DeleteAll").code, 0); }
  EXPECT_EQ(seen, 1) << "a program's own handler stays";
  std::signal(SIGUSR2, SIG_DFL);
}

TEST(Timeout, LaterCallsWaitForTheAnswerThatIsStillToCome) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(0)});
  kill(server.Pid(), SIGSTOP);
  server.SetTimeout(milliseconds(60));
  for (const char* value : {"late", "never placed"}) {
    const ServerError error = FailureOf([&] { server.Call("v_Set", {Text("a"), Text(value)}); });
    EXPECT_EQ(error.Kind(), Failure::Timeout) << value;
    EXPECT_STREQ(error.what(), "the server has not answered within 60 ms");
  }
  server.SetTimeout(milliseconds::max());
  const std::jthread wake = SignalLater(server.Pid(), SIGCONT);
  EXPECT_EQ(Get(server, "a"), "late");
}

TEST(Death, IsNoticedAtOnceAndStaysKnown) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(2)});
  server.TakeStandardError();
  const std::string value(300'000, 'x');  // much more than a pipe holds
  server.Call("v_Set", {Text("long"), Text(value)});
  kill(server.Pid(), SIGSTOP);
  const std::jthread killer = SignalLater(server.Pid(), SIGKILL);
  const std::jthread others([](const std::stop_token& stop) {  // whose answers come here
    for (; !stop.stop_requested(); usleep(100)) kill(getpid(), SIGUSR2);
  });
  const auto start = Clock::now();
  EXPECT_EQ(FailureOf([&] { server.Call("l_DeleteAll"); }).HowEnded(), (Ending{-1, SIGKILL}));
  EXPECT_LT(Clock::now() - start, milliseconds(2000));
  EXPECT_EQ(FailureOf([&] { server.Call("l_DeleteAll"); }).what(),
            "the server has ended: signal 9 (Killed); it wrote: ..." + std::string(982, 'x') + "\"\nreturn code is 0");
  const std::string written =
      "\ncalling v_Set, argc = 2\n name = \"long\"\n value = \"" + value + "\"\nreturn code is 0\n";
  EXPECT_EQ(FailureOf([&] { server.Call("l_DeleteAll"); }).StandardErrorText(), written);
  EXPECT_EQ(server.TakeStandardError(), written);
}

TEST(Death, ComesToProgramsThatLeaveSigtermBlocked) {
  Process process("/bin/sleep", {"100"});
  EXPECT_EQ(process.End(milliseconds(50)), (Ending{-1, SIGKILL}));
}

TEST(Death, FollowsAnAnswerToNobody) {
  Server server(TestServer());
  EXPECT_EQ(server.Call("dll_Debug", {Int(0)}).code, 0);
  shmid_ds status;
  ASSERT_EQ(shmctl(server.SegmentId(), IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_perm.mode & 07777, 0600 | SHM_DEST) << "the segment is private and goes with the last of both";
  Block block = server.GetBlock();
  PlaceCall(block, "dll_Debug", {Int(0)});
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  waitpid(gone, nullptr, 0);
  block.Store(offsetof(BlockHeader, host_pid), int32_t{gone});
  EXPECT_EQ(server.Ring(), 0);
  EXPECT_EQ(FailureOf([&] { server.Call("dll_Debug", {Int(0)}); }).HowEnded(), (Ending{0, 0}));
}

}  // namespace
}  // namespace vorlix::host
