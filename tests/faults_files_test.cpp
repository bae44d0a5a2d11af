// Every system call that is made on a file goes wrong, one at a time: the answer is the documented one, the file is the
// old or the new one, and nothing is left behind.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "dll/server/functions.h"
#include "dll/shared/debug.h"
#include "tests/support/callables.h"
#include "tests/support/dictstate.h"

// ---- The system calls -----------------------------------------------------------------------------------------------

namespace {

/// In place of an error number: one byte is read or written, however many were asked for.
constexpr int SHORT = -1;

/// The calls since this was set, while a scenario runs, and the one among them that goes wrong.
struct Watch {
  bool on = false;
  size_t failing = SIZE_MAX;
  int fault = 0;
  std::vector<std::string> made{};
} watch;

/// What is to happen to this call: an error number, SHORT, or 0 when nothing is.
int FaultOf(const char* call) {
  if (!watch.on) return 0;
  watch.made.emplace_back(call);
  return watch.made.size() - 1 == watch.failing ? watch.fault : 0;
}

bool Fails(const char* call) {
  const int fault = FaultOf(call);
  if (fault > 0) errno = fault;
  return fault > 0;
}

bool FailsOrShortens(const char* call, size_t& count) {
  const int fault = FaultOf(call);
  if (fault == SHORT) count = std::min<size_t>(count, 1);
  if (fault > 0) errno = fault;
  return fault > 0;
}

}  // namespace

/// Whatever else has put itself before the C library, such as a sanitizer, still sees the calls that are made.
#define NEXT(name) reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
#define SYSTEM_CALL(name, parameters, arguments) \
  int name parameters noexcept { return Fails(#name) ? -1 : NEXT(name) arguments; }

extern "C" {
SYSTEM_CALL(fstat, (int fd, struct stat* info), (fd, info))
SYSTEM_CALL(fchmod, (int fd, mode_t mode), (fd, mode))
SYSTEM_CALL(fchown, (int fd, uid_t owner, gid_t group), (fd, owner, group))
SYSTEM_CALL(rename, (const char* from, const char* to), (from, to))

int open(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return Fails("open") ? -1 : NEXT(open)(path, flags, mode);
}

ssize_t pread(int fd, void* to, size_t count, off_t offset) {
  return FailsOrShortens("pread", count) ? -1 : NEXT(pread)(fd, to, count, offset);
}

ssize_t write(int fd, const void* from, size_t count) {
  return FailsOrShortens("write", count) ? -1 : NEXT(write)(fd, from, count);
}

ssize_t readlink(const char* path, char* to, size_t size) noexcept {
  return Fails("readlink") ? -1 : NEXT(readlink)(path, to, size);
}

ssize_t getrandom(void* to, size_t size, unsigned flags) {
  return Fails("getrandom") ? -1 : NEXT(getrandom)(to, size, flags);
}

int fsync(int fd) { return Fails("fsync") ? -1 : NEXT(fsync)(fd); }

// It gives the descriptor back whatever it answers.
int close(int fd) {
  const bool written = (fcntl(fd, F_GETFL) & O_ACCMODE) != O_RDONLY;
  const int result = NEXT(close)(fd);
  return Fails(written ? "close of what was written" : "close") ? -1 : result;
}
}

// ---- What goes on ---------------------------------------------------------------------------------------------------

namespace vorlix::test {
namespace {

namespace fs = std::filesystem;

/// The errors that are tried with each call. EINTR and SHORT never change an outcome.
const std::map<std::string, std::vector<int>> FITTING = {
    {"open", {EACCES, EIO, ENOSPC, EMFILE, EINTR}},
    {"fstat", {EIO}},
    {"fchmod", {EPERM, EIO}},
    {"fchown", {EPERM, EIO}},
    {"rename", {EACCES, EIO, ENOSPC}},
    {"pread", {EIO, EINTR, SHORT}},
    {"write", {ENOSPC, EIO, EINTR, SHORT}},
    {"readlink", {EACCES, EIO, EINTR}},
    {"getrandom", {ENOSYS, EINTR}},
    {"fsync", {EIO, ENOSPC, EINTR}},
    {"close of what was written", {EIO, ENOSPC, EINTR}},
    {"close", {EIO, EINTR}},
};
const std::set<std::string> HARMLESS = {"fchown", "close"};

/// When a call that is not in `exceptions` fails, the scenario tells `failure`, in which E stands for minus the error.
struct Scenario {
  const char* what;
  std::function<std::string()> run;
  std::string undisturbed;
  std::string failure;
  std::map<std::string, std::string> exceptions{};
};

class FileFaults : public testing::Test {
 protected:
  FileFaults() { mkdtemp(dir_.data()); }
  ~FileFaults() override {
    Reset();
    ini_CloseAll();
    fs::remove_all(dir_);
  }

  std::string Path(const char* name) const { return dir_ + "/" + name; }
  std::string Contents(const char* name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /// The same files, and no state but the open handle 0.
  void Reset() const {
    for (const auto& entry : fs::directory_iterator(dir_)) fs::remove(entry);
    std::ofstream(Path("ini"), std::ios::binary) << Ini('1');
    std::ofstream(Path("dict"), std::ios::binary) << "[catalog]\nA=X\n[a.f]\nPATH=p\n" + bulk_ + "FTYP=K\n";
    ini_CloseAll();
    int32_t ignored;
    ini_Open(Path("ini").c_str(), "", IntByReference(&ignored));
    TestString xbuf(9);
    mdf_Get("none", "none", "", xbuf, IntByReference(&ignored));
  }

  /// Runs with call number `failing` going wrong. Tells what the run told, and what it has left that it must not.
  std::string Run(const Scenario& scenario, size_t failing = SIZE_MAX, int fault = 0) const {
    const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
    const auto before = descriptors();
    watch = {true, failing, fault};
    std::string told = scenario.run();
    watch.on = false;
    if (descriptors() != before) told += " and a descriptor";
    for (const auto& entry : fs::directory_iterator(dir_))
      if (entry.path().filename().native().starts_with(".")) told += " and a temporary file";
    return told;
  }

  void FailEach(const Scenario& scenario) const {
    Reset();
    EXPECT_EQ(Run(scenario), scenario.undisturbed) << scenario.what;
    const std::vector<std::string> calls = watch.made;
    for (size_t i = 0; i < calls.size(); ++i)
      for (const int fault : FITTING.at(calls[i])) {
        SCOPED_TRACE(scenario.what + (": " + calls[i]) + " as call " + std::to_string(i) + ", " + strerror(fault));
        const bool harmless = fault == SHORT || fault == EINTR || HARMLESS.contains(calls[i]);
        const auto exception = scenario.exceptions.find(calls[i]);
        std::string expected = exception != scenario.exceptions.end() ? exception->second : scenario.failure;
        if (harmless) expected = scenario.undisturbed;
        if (expected == "E") expected = std::to_string(-fault);
        Reset();
        EXPECT_EQ(Run(scenario, i, fault), expected);
        EXPECT_EQ(Run(scenario), scenario.undisturbed) << "afterwards";
      }
  }

  std::string GetString() const {
    TestString value(40);
    ini_GetString("T", "L", "default", Path("ini").c_str(), value);
    return std::string(value.View());
  }

  std::string Open() const {
    int32_t hdl = -99, rc = -99;
    ini_Open(Path("ini").c_str(), "T", IntByReference(&hdl));
    if (hdl >= 0) ini_Close(hdl, IntByReference(&rc));
    return std::to_string(hdl);
  }

  /// Goes through all that handle 0 has.
  static std::string Walk() {
    std::string told;
    int32_t state = 0;
    ini_FindSection(0, "", IntByReference(&state));
    for (TestString name(40), value(40); state == 0; told += name.View()) {
      while (ini_NextEntry(0, name, value, IntByReference(&state)), state == 0) told += value.View();
      if (state == 1) ini_NextSection(0, name, IntByReference(&state));
    }
    return state < 0 ? std::to_string(state) : told;
  }

  std::string SetString(const char* name) const {
    ini_SetString("T", "L", "2", Path(name).c_str());
    const std::string now = Contents(name);
    return now == Ini('1') ? "old" : now == Ini('2') ? "new" : now;
  }

  std::string OpenDictionary() const {
    int32_t rc = -99;
    dict_Open("D", Path("dict").c_str(), 1, IntByReference(&rc));
    const std::string loaded = ShowAll();
    dict_CloseAll();
    return std::to_string(rc) + loaded;
  }

  std::string GetModule() const {
    TestString xbuf(40);
    int32_t rc = -99;
    mdf_Get(Path("ini").c_str(), "T", "", xbuf, IntByReference(&rc));
    return std::to_string(rc) + std::string(xbuf.View());
  }

  /// How many of a header and two lines the trace file has, and the lines that came on standard error.
  std::string Trace() const {
    testing::internal::CaptureStderr();
    SetDebugFlags("D", Path("trace").c_str());
    for (const char* line : {"one", "two"}) DebugPrint('D', 1, "%s", line);
    SetDebugFlags("", "");
    const std::string error_output = testing::internal::GetCapturedStderr();
    const std::string trace = Contents("trace");
    int count = 0;
    for (const char* part : {"   Flags = [D]\n\n", "D1: one\n", "D1: two\n"}) count += trace.find(part) != trace.npos;
    return std::to_string(count) + error_output.substr(std::min(error_output.find("D1"), error_output.size()));
  }

  // Files take several blocks to read, and what matters stands on both sides of their limits.
  const std::string bulk_ = std::string(70'000, '\n');
  std::string Ini(char value) const { return "[T]\nMODUL=m\n" + bulk_ + "L=" + value + "\n" + bulk_; }
  std::string dir_ = "/tmp/vorlix-faults-XXXXXX";
};

TEST_F(FileFaults, GiveTheDocumentedAnswers) {
  const Scenario SCENARIOS[] = {
      {"ini_GetString", [&] { return GetString(); }, "1", "default"},
      {"ini_Open", [&] { return Open(); }, "1", "E"},
      {"ini_FindSection, ini_Next...", Walk, "Tm1", "-1"},
      {"ini_SetString", [&] { return SetString("ini"); }, "new", "old"},
      {"ini_SetString of a new file", [&] { return SetString("new"); }, "[T]\nL=2\n", ""},
      {"dict_Open",
       [&] { return OpenDictionary(); },
       "0D/0 x1: A=X [a.f PATH=p OBJTYPE=ET FTYP=K]\nD01X",
       "E",
       {{"pread", "-1"}}},
      {"mdf_Get", [&] { return GetModule(); }, "0XMdf_mod~0~1~m$", "E"},
      {"trace",
       [&] { return Trace(); },
       "3",
       "2",
       {{"open", "0D1: one\nD1: two\n"}, {"close of what was written", "3"}}},
  };
  for (const Scenario& scenario : SCENARIOS) FailEach(scenario);
}

}  // namespace
}  // namespace vorlix::test
