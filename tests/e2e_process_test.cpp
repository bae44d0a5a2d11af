// The server as a process: start-up and its failures, signals at any time, time-outs, death, and nothing left behind.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/shm.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "host/csdx.h"
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

TEST(StartUp, FailuresAreReportedWithStatusAndStandardError) {
  struct Row {
    const char* what;
    std::vector<std::string> args;  // "ID" stands for the segment's identifier
    std::array<char, 8> magic;
    int32_t version;
    const char* standard_error;
  };
  const std::array<char, 8> other = {'Z', 'D', '.', 'D', 'L', 'L', '\0', '!'};
  const std::string illegal_call = std::string(VORLIX_SERVER) + ": Illegal call\n";
  const Row rows[] = {
      {"no argument", {}, DLL_MAGIC, 257, illegal_call.c_str()},
      {"two arguments", {"ID", "ID"}, DLL_MAGIC, 257, illegal_call.c_str()},
      {"no such segment", {"-1"}, DLL_MAGIC, 257, "shmat: Invalid argument\n"},
      {"no number", {"x"}, DLL_MAGIC, 257, "shmat: Invalid argument\n"},
      {"magic", {"ID"}, other, 257, "Illegal DLL_MAGIC\n"},
      {"version", {"ID"}, DLL_MAGIC, 256, "Illegal DLL_VERSION\n"},
  };
  for (const Row& row : rows) {
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
    EXPECT_EQ(process.Wait(Clock::now() + std::chrono::seconds(10)), Process::Event::Died) << row.what;
    EXPECT_EQ(process.End(), (Ending{2, 0})) << row.what;
    EXPECT_EQ(process.TakeStandardError(), row.standard_error) << row.what;
  }
}

TEST(StartUp, ProgramsThatCannotRunAreNoServer) {
  const char* const rows[][2] = {{"/nowhere/vorlix.dll", "cannot start /nowhere/vorlix.dll: No such file or directory"},
                                 {"/etc/passwd", "cannot start /etc/passwd: Permission denied"}};
  for (const auto& [program, message] : rows) {
    const ServerError error = FailureOf([&] { Server server({.program = program}); });
    EXPECT_EQ(error.Kind(), Failure::NoServer);
    EXPECT_STREQ(error.what(), message);
  }
}

TEST(Signals, EarlyOnesStayPending) {
  for (int i = 0; i < 20; ++i) {
    Server called(TestServer());
    EXPECT_EQ(called.Call("dll_Debug", {Int(0)}).code, 0);
    Server ended(TestServer());
    EXPECT_EQ(ended.End(), (Ending{0, 0}));
  }
}

TEST(Signals, StaleAndMergedOnesDoNoHarm) {
  Server first(TestServer());
  Server second(TestServer());
  for (int i = 0; i < 200; ++i) {
    if (i % 3 == 0) raise(SIGUSR2);
    const std::string value = std::to_string(i);
    first.Call("v_Set", {Text("number"), Text(value)});
    second.Call("v_Set", {Text("number"), Text("-" + value)});
    ASSERT_EQ(Get(first, "number"), value);
    ASSERT_EQ(Get(second, "number"), "-" + value);
  }
}

TEST(Signals, ServersInThreadsDoNotStealAnswers) {
  const AnswersBlocked blocked;  // before the threads, which inherit the mask
  std::vector<std::jthread> threads;
  for (int number = 0; number < 3; ++number)
    threads.emplace_back([number] {
      Server server(TestServer());
      for (int i = 0; i < 50; ++i) {
        const std::string value = std::to_string(1000 * number + i);
        server.Call("v_Set", {Text("number"), Text(value)});
        EXPECT_EQ(Get(server, "number"), value);
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
    const auto outer = std::make_unique<Server>(TestServer());
    { Server inner(TestServer()); }
    EXPECT_TRUE(blocked());
    outer->End();
    raise(SIGUSR2);
  }
  EXPECT_FALSE(blocked()) << "and the signal has not ended this program";
  struct sigaction action {};
  sigaction(SIGUSR2, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_DFL);
}

// Each row runs in a host process of its own, whose exit status says how far the calls came.
TEST(StartUp, WorksInHostsOfAllKinds) {
  struct Row {
    const char* what;
    std::function<void()> prepare;
  };
  const auto close_from = [](int first) {
    for (int fd = first; fd <= STDERR_FILENO; ++fd) close(fd);
  };
  const Row rows[] = {
      {"without standard descriptors", [&] { close_from(0); }},
      {"without output", [&] { close_from(1); }},
      {"without standard error", [&] { close_from(2); }},
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
  const auto talk = [] {
    Server server(TestServer());
    if (server.Call("dll_Debug", {Int(1)}).code != 0) return 1;
    if (server.TakeStandardError() != "return code is 0\n") return 2;
    const Ending ending = server.End();
    return ending == Ending{0, 0} || ending == Ending{} ? 0 : 3;
  };
  for (const Row& row : rows) {
    const pid_t host = fork();
    if (host == 0) {
      row.prepare();
      _exit(talk());
    }
    int status = -1;
    waitpid(host, &status, 0);
    EXPECT_EQ(status, 0) << row.what;
  }
}

// Without a standard error to inherit, no file that the server opens may take its place and receive the trace.
TEST(StartUp, WithoutStandardErrorTheTraceGoesNowhere) {
  const pid_t host = fork();
  if (host == 0) {
    close(STDERR_FILENO);
    ServerOptions options = TestServer();
    options.standard_error = StandardError::Inherit;
    Server server(options);
    const bool called =
        server.Call("dll_Debug", {Int(3)}).code == 0 && server.Call("dll_Revision", {OutText(9)}).code == 0;
    std::error_code error;
    const auto target = std::filesystem::read_symlink("/proc/" + std::to_string(server.Pid()) + "/fd/2", error);
    _exit(called && target == "/dev/null" ? 0 : 1);
  }
  int status = -1;
  waitpid(host, &status, 0);
  EXPECT_EQ(status, 0);
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
  std::jthread wake([pid = server.Pid()] {
    std::this_thread::sleep_for(milliseconds(50));
    kill(pid, SIGCONT);
  });
  EXPECT_EQ(Get(server, "a"), "late");
}

TEST(Death, IsNoticedAtOnceAndStaysKnown) {
  Server server(TestServer());
  server.Call("dll_Debug", {Int(1)});
  server.Call("dll_Revision", {OutText(9)});
  kill(server.Pid(), SIGSTOP);
  std::jthread killer([pid = server.Pid()] {
    std::this_thread::sleep_for(milliseconds(50));
    kill(pid, SIGKILL);
  });
  const auto start = Clock::now();
  for (int i = 0; i < 2; ++i) {
    const ServerError error = FailureOf([&] { server.Call("l_DeleteAll"); });
    EXPECT_EQ(error.Kind(), Failure::Died);
    EXPECT_EQ(error.HowEnded(), (Ending{-1, SIGKILL}));
  }
  EXPECT_LT(Clock::now() - start, milliseconds(2000));
  EXPECT_EQ(server.TakeStandardError(), "return code is 0\n\ncalling dll_Revision, argc = 1\nreturn code is 0\n");
}

TEST(Death, OfAnInvalidRealBringsItsLastWords) {
  Server server(TestServer());
  const ServerError error = FailureOf([&] { server.Call("dll_Debug", {Real(HostReal{1, REAL_INVALID, 1, {1}})}); });
  EXPECT_EQ(error.HowEnded(), (Ending{-1, SIGABRT}));
  EXPECT_NE(error.StandardErrorText().find("fatal math error cc #-2\nfile = "), std::string::npos);
}

TEST(Death, OfTheHostEndsTheServerWithStatus0) {
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

bool SegmentExists(int id) {
  shmid_ds status;
  return shmctl(id, IPC_STAT, &status) == 0;
}

TEST(Segment, IsPrivateAndMarkedForRemovalFromTheStart) {
  int id = -1;
  {
    Server server(TestServer());
    server.Call("dll_Debug", {Int(0)});
    id = server.SegmentId();
    shmid_ds status;
    ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_perm.mode & 07777, 0600 | SHM_DEST);
    EXPECT_EQ(status.shm_nattch, 2u);
  }
  EXPECT_FALSE(SegmentExists(id));
}

TEST(Segment, AndServerGoWithAHostThatIsKilled) {
  struct Left {
    int segment;
    pid_t server;
  };
  std::array<int, 2> ends;
  ASSERT_EQ(pipe(ends.data()), 0);
  const pid_t host = fork();
  if (host == 0) {
    Server server(TestServer());
    server.Call("dll_Debug", {Int(0)});  // the server has attached the segment
    const Left left{server.SegmentId(), server.Pid()};
    if (write(ends[1], &left, sizeof left) == sizeof left) pause();
    _exit(1);
  }
  Left left{};
  ASSERT_EQ(read(ends[0], &left, sizeof left), static_cast<ssize_t>(sizeof left));
  pollfd server_end{static_cast<int>(syscall(SYS_pidfd_open, left.server, 0)), POLLIN, 0};
  EXPECT_TRUE(SegmentExists(left.segment));
  kill(host, SIGKILL);
  waitpid(host, nullptr, 0);
  EXPECT_EQ(poll(&server_end, 1, 5000), 1);
  EXPECT_FALSE(SegmentExists(left.segment));
  syscall(SYS_pidfd_send_signal, server_end.fd, SIGKILL, nullptr, 0);  // a server that is left although it must not be
  for (const int fd : {ends[0], ends[1], server_end.fd}) close(fd);
}

TEST(Transfer, FetchesTheLocaleDescriptionInBlocksOfAnySize) {
  Server server(TestServer());
  const Transfer whole = FetchTransfer(server);
  EXPECT_EQ(whole.code, 0);
  EXPECT_EQ(whole.blocks, 1);
  EXPECT_EQ(whole.payload.substr(4 * 'A', 4), "0E53");
  EXPECT_TRUE(whole.payload.ends_with("5~%W/%y5~")) << whole.payload.substr(2048);
  EXPECT_EQ(FetchTransfer(server).code, RESULT_REFUSED) << "it was taken";
  for (const int32_t capacity : {25, 100, 2000}) {
    ASSERT_EQ(server.Call("dll_SetLocale", {Text("LANG=C")}).code, 0);
    const Transfer again = FetchTransfer(server, capacity);
    EXPECT_EQ(again.payload, whole.payload) << capacity;
    EXPECT_GT(again.blocks, 1) << capacity;
  }
  ASSERT_EQ(server.Call("dll_SetLocale", {Text("LANG=C")}).code, 0);
  EXPECT_EQ(FetchTransfer(server, 24).code, RESULT_TOO_SHORT) << "from offset 1000 on the margin is missing";
}

}  // namespace
}  // namespace vorlix::host
