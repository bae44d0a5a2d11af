// The server as a process: start-up and its failures, signals at any time, time-outs, death.
#include <gtest/gtest.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <thread>
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
  ADD_FAILURE() << "nothing failed";
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

TEST(StartUp, FailuresAreReportedWithStatusAndStandardError) {
  const std::array<char, 8> other = {'Z', 'D', '.', 'D', 'L', 'L', '\0', '!'};
  const std::string illegal_call = std::string(VORLIX_SERVER) + ": Illegal call\n";
  const std::string no_segment = "shmat: Invalid argument\n";
  const struct {
    std::vector<std::string> args;  // "ID" stands for the segment's identifier
    std::array<char, 8> magic;
    int32_t version;
    std::string standard_error;
  } ROWS[] = {
      {{}, DLL_MAGIC, 257, illegal_call},          {{"ID", "ID"}, DLL_MAGIC, 257, illegal_call},
      {{"-1"}, DLL_MAGIC, 257, no_segment},        {{"x"}, DLL_MAGIC, 257, no_segment},
      {{"ID"}, other, 257, "Illegal DLL_MAGIC\n"}, {{"ID"}, DLL_MAGIC, 256, "Illegal DLL_VERSION\n"},
  };
  for (const auto& row : ROWS) {
    Segment segment(4096);
    Block block(segment.Memory(), 0);
    BlockHeader header = block.MakeHeader(0);
    header.magic = row.magic;
    header.version = row.version;
    block.Store(0, header);
    std::vector<std::string> args = row.args;
    for (std::string& arg : args)
      if (arg == "ID") arg = std::to_string(segment.Id());
    Process process(VORLIX_SERVER, args, TestServer().environment, StandardError::Capture);
    EXPECT_EQ(process.Wait(Clock::now() + std::chrono::seconds(10)), Process::Event::Died) << row.standard_error;
    EXPECT_EQ(process.End(), (Ending{2, 0})) << row.standard_error;
    EXPECT_EQ(process.TakeStandardError(), row.standard_error);
  }
  const char* const PROGRAMS[][2] = {
      {"/nowhere/vorlix.dll", "cannot start /nowhere/vorlix.dll: No such file or directory"},
      {"/etc/passwd", "cannot start /etc/passwd: Permission denied"}};
  for (const auto& row : PROGRAMS) {
    const ServerError error = FailureOf([&] { Server server({.program = row[0]}); });
    EXPECT_EQ(error.Kind(), Failure::NoServer);
    EXPECT_STREQ(error.what(), row[1]);
  }
}

// Each row runs in a host process of its own, whose exit status says how far the calls came.
TEST(StartUp, WorksInHostsOfAllKinds) {
  const auto close_from = [](int first) {
    for (int fd = first; fd <= STDERR_FILENO; ++fd) close(fd);
  };
  const struct {
    const char* what;
    std::function<void()> prepare;
    StandardError standard_error = StandardError::Capture;
  } ROWS[] = {
      {"without standard descriptors", [&] { close_from(0); }},
      {"without output", [&] { close_from(1); }},
      {"without standard error", [&] { close_from(2); }},
      // No file that the server opens may take its place and receive the trace.
      {"without one for the server either", [&] { close_from(2); }, StandardError::Inherit},
      {"with its children reaped by the kernel", [] { std::signal(SIGCHLD, SIG_IGN); }},
      {"that ignores signals",
       [] {
         for (const int number : {SIGUSR2, SIGTERM, SIGPIPE}) std::signal(number, SIG_IGN);
       }},
      {"that blocks signals",
       [] {
         sigset_t all;
         sigfillset(&all);
         sigprocmask(SIG_SETMASK, &all, nullptr);
       }},
  };
  const auto talk = [](StandardError standard_error) {
    ServerOptions options = TestServer();
    options.standard_error = standard_error;
    Server server(options);
    if (server.Call("dll_Debug", {Int(1)}).code != 0) return 1;
    std::error_code error;
    const auto output = std::filesystem::read_symlink("/proc/" + std::to_string(server.Pid()) + "/fd/2", error);
    if (standard_error == StandardError::Capture ? server.TakeStandardError() != "return code is 0\n"
                                                 : output != "/dev/null")
      return 2;
    const Ending ending = server.End();
    return ending == Ending{0, 0} || ending == Ending{} ? 0 : 3;
  };
  for (const auto& row : ROWS) {
    const pid_t host = fork();
    if (host == 0) {
      row.prepare();
      _exit(talk(row.standard_error));
    }
    int status = -1;
    waitpid(host, &status, 0);
    EXPECT_EQ(status, 0) << row.what;
  }
}

TEST(Signals, StaleAndMergedOnesDoNoHarm) {
  const AnswersBlocked blocked;  // before the threads, which inherit the mask
  std::vector<std::jthread> threads;
  for (int number = 0; number < 3; ++number)
    threads.emplace_back([number] {
      Server first(TestServer());
      Server second(TestServer());
      for (int i = 0; i < 100; ++i) {
        if (i % 3 == 0) raise(SIGUSR2);
        const std::string value = std::to_string(1000 * number + i);
        first.Call("v_Set", {Text("number"), Text(value)});
        second.Call("v_Set", {Text("number"), Text("-" + value)});
        EXPECT_EQ(Get(first, "number") + Get(second, "number"), value + "-" + value);
      }
    });
}

TEST(Signals, MaskIsRestoredAndPendingAnswersAreTakenBack) {
  const auto blocked = [] {
    sigset_t mask;
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    return sigismember(&mask, SIGUSR2) == 1;
  };
  ASSERT_FALSE(blocked());
  {
    Server outer(TestServer());
    { Server inner(TestServer()); }
    EXPECT_TRUE(blocked());
    outer.End();
    raise(SIGUSR2);
  }
  EXPECT_FALSE(blocked()) << "and the signal has not ended this program";
}

TEST(Timeout, LaterCallsWaitForTheAnswerThatIsStillToCome) {
  Server server(TestServer());
  server.Call("v_Set", {Text("a"), Text("before")});
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
  server.Call("dll_Debug", {Int(1)});
  server.Call("dll_Revision", {OutText(9)});
  kill(server.Pid(), SIGSTOP);
  const std::jthread killer = SignalLater(server.Pid(), SIGKILL);
  const auto start = Clock::now();
  for (int i = 0; i < 2; ++i)
    EXPECT_EQ(FailureOf([&] { server.Call("l_DeleteAll"); }).HowEnded(), (Ending{-1, SIGKILL}));
  EXPECT_LT(Clock::now() - start, milliseconds(2000));
  EXPECT_EQ(server.TakeStandardError(), "return code is 0\n\ncalling dll_Revision, argc = 1\nreturn code is 0\n");
}

TEST(Death, OfAnInvalidRealBringsItsLastWords) {
  Server server(TestServer());
  const ServerError error = FailureOf([&] { server.Call("dll_Debug", {Real(HostReal{1, REAL_INVALID, 1, {1}})}); });
  EXPECT_EQ(error.HowEnded(), (Ending{-1, SIGABRT}));
  EXPECT_NE(error.StandardErrorText().find("fatal math error cc #-2\nfile = "), std::string::npos);
}

TEST(Death, FollowsAnAnswerToNobody) {
  Server server(TestServer());
  Block block = server.GetBlock();
  PlaceCall(block, "dll_Debug", {Int(0)});
  BlockHeader header = block.Load<BlockHeader>(0);
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  waitpid(gone, nullptr, 0);
  header.host_pid = gone;
  block.Store(0, header);
  EXPECT_EQ(server.Ring(), 0);
  EXPECT_EQ(FailureOf([&] { server.Call("dll_Debug", {Int(0)}); }).HowEnded(), (Ending{0, 0}));
}

TEST(StandardErrorCapture, NeverStopsTheServer) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(2)});
  server.TakeStandardError();
  const std::string value(300'000, 'x');  // much more than a pipe holds
  server.Call("v_Set", {Text("long"), Text(value)});
  EXPECT_EQ(server.TakeStandardError(),
            "\ncalling v_Set, argc = 2\n name = \"long\"\n value = \"" + value + "\"\nreturn code is 0\n");
}

TEST(Segment, IsPrivateAndMarkedForRemovalFromTheStart) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(0)});
  shmid_ds status;
  ASSERT_EQ(shmctl(server.SegmentId(), IPC_STAT, &status), 0);
  EXPECT_EQ(status.shm_perm.mode & 07777, 0600 | SHM_DEST);
  EXPECT_EQ(status.shm_nattch, 2u);
}

}  // namespace
}  // namespace vorlix::host
