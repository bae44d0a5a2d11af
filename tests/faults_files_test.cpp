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
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "tests/support/callables.h"
#include "tests/support/dictstate.h"
#include "tools/files.h"
#include "tools/scope.h"

// ---- The system calls -----------------------------------------------------------------------------------------------

namespace {

// In place of an error number: one byte is read or written, however many were asked for.
constexpr int SHORT = -1;

// The calls since this was set, while a scenario runs, and the one among them that goes wrong.
struct Watch {
  bool on = false;
  size_t failing = SIZE_MAX;
  int fault = 0;
  std::vector<std::string> made{};
} watch;

// Whether this call is to fail; it may also be cut short.
bool Fails(const char* call, size_t* count = nullptr) {
  if (!watch.on) return false;
  watch.made.emplace_back(call);
  if (watch.made.size() - 1 != watch.failing) return false;
  if (watch.fault == SHORT && count != nullptr) *count = std::min<size_t>(*count, 1);
  if (watch.fault != SHORT) errno = watch.fault;
  return watch.fault != SHORT;
}

}  // namespace

// Whatever else has put itself before the C library, such as a sanitizer, still sees the calls that are made.
#define NEXT(name) reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))
#define SYSTEM_CALL(result, name, parameters, arguments) \
  result name parameters { return Fails(#name) ? -1 : NEXT(name) arguments; }

extern "C" {
SYSTEM_CALL(int, fstat, (int fd, struct stat* info) noexcept, (fd, info))
SYSTEM_CALL(int, fchmod, (int fd, mode_t mode) noexcept, (fd, mode))
SYSTEM_CALL(int, fchown, (int fd, uid_t owner, gid_t group) noexcept, (fd, owner, group))
SYSTEM_CALL(int, rename, (const char* from, const char* to) noexcept, (from, to))
SYSTEM_CALL(int, fsync, (int fd), (fd))
SYSTEM_CALL(ssize_t, readlink, (const char* path, char* to, size_t size) noexcept, (path, to, size))
SYSTEM_CALL(ssize_t, getrandom, (void* to, size_t size, unsigned flags), (to, size, flags))

int open(const char* path, int flags, ...) {
  va_list args;
  va_start(args, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(args, mode_t) : 0;
  va_end(args);
  return Fails("open") ? -1 : NEXT(open)(path, flags, mode);
}

ssize_t pread(int fd, void* to, size_t count, off_t offset) {
  return Fails("pread", &count) ? -1 : NEXT(pread)(fd, to, count, offset);
}

ssize_t write(int fd, const void* from, size_t count) {
  return Fails("write", &count) ? -1 : NEXT(write)(fd, from, count);
}

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

// What is tried with each call. What cannot be cut short goes well then.
constexpr int FAULTS[] = {EIO, ENOSPC, EACCES, EINTR, SHORT};
const std::set<std::string> UNINTERRUPTED = {"fstat", "fchmod", "fchown", "rename"};
const std::set<std::string> HARMLESS = {"fchown", "close"};

// Files take several blocks to read, and what matters stands on both sides of their limits.
const std::string BULK(70'000, '\n');

std::string Ini(char value) { return "[T]\nMODUL=m\n" + BULK + "L=" + value + "\n" + BULK; }

std::string Contents(const char* name) { return fs::exists(name) ? tool::ReadFile(name) : ""; }

// What comes back beside results.
int32_t back;
IntByReference out(&back);

// The same files in the working directory, and no state but the open handle 0.
void Reset() {
  for (const auto& entry : fs::directory_iterator(".")) fs::remove(entry);
  tool::WriteFile("ini", Ini('1'));
  tool::WriteFile("dict", "[catalog]\nA=X\n[a.f]\nPATH=p\n" + BULK + "FTYP=K\n");
  ini_CloseAll();
  ini_Open("ini", "", out);
  TestString xbuf(9);
  mdf_Get("none", "none", "", xbuf, out);
}

// The scenarios. Each tells what came of it.

std::string GetString() {
  TestString value(40);
  ini_GetString("T", "L", "default", "ini", value);
  return std::string(value.View());
}

std::string Open() {
  ini_Open("ini", "T", out);
  const int32_t hdl = back;
  if (hdl >= 0) ini_Close(hdl, out);
  return std::to_string(hdl);
}

// Goes through all that handle 0 has.
std::string Walk() {
  std::string told;
  ini_FindSection(0, "", out);
  for (TestString name(40), value(40); back == 0; told += name.View()) {
    while (ini_NextEntry(0, name, value, out), back == 0) told += value.View();
    if (back == 1) ini_NextSection(0, name, out);
  }
  return back < 0 ? std::to_string(back) : told;
}

std::string SetString(const char* name) {
  ini_SetString("T", "L", "2", name);
  const std::string now = Contents(name);
  return now == Ini('1') ? "old" : now == Ini('2') ? "new" : now;
}

std::string OpenDictionary() {
  dict_Open("D", "dict", 1, out);
  const std::string told = std::to_string(back) + ShowAll();
  dict_CloseAll();
  return told;
}

std::string GetModule() {
  TestString xbuf(40);
  mdf_Get("ini", "T", "", xbuf, out);
  return std::to_string(back) + std::string(xbuf.View());
}

// How many of a header and two lines the trace file has, and the lines that came on standard error.
std::string Trace() {
  testing::internal::CaptureStderr();
  SetDebugFlags("D", "trace");
  for (const char* line : {"one", "two"}) DebugPrint('D', 1, "%s", line);
  SetDebugFlags("", "");
  const std::string error_output = testing::internal::GetCapturedStderr();
  const std::string trace = Contents("trace");
  int count = 0;
  for (const char* part : {"   Flags = [D]\n\n", "D1: one\n", "D1: two\n"}) count += trace.find(part) != trace.npos;
  return std::to_string(count) + error_output.substr(std::min(error_output.find("D1"), error_output.size()));
}

// When a call that is not in `exceptions` fails, the scenario tells `failure`, in which E stands for minus the error.
struct Scenario {
  const char* what;
  std::string (*run)();
  std::string undisturbed;
  std::string failure;
  std::map<std::string, std::string> exceptions{};

  std::string Expected(const std::string& call, int fault) const {
    const bool goes_on = fault == SHORT || (fault == EINTR && !UNINTERRUPTED.contains(call));
    if (goes_on || HARMLESS.contains(call)) return undisturbed;
    const auto exception = exceptions.find(call);
    if (exception != exceptions.end()) return exception->second;
    return failure == "E" ? std::to_string(-fault) : failure;
  }
};

const Scenario SCENARIOS[] = {
    {"ini_GetString", GetString, "1", "default"},
    {"ini_Open", Open, "1", "E"},
    {"ini_FindSection, ini_Next...", Walk, "Tm1", "-1"},
    {"ini_SetString", [] { return SetString("ini"); }, "new", "old"},
    {"ini_SetString of a new file", [] { return SetString("new"); }, "[T]\nL=2\n", ""},
    {"dict_Open", OpenDictionary, "0D/0 x1: A=X [a.f PATH=p OBJTYPE=ET FTYP=K]\nD01X", "E"},
    {"mdf_Get", GetModule, "0XMdf_mod~0~1~m$", "E"},
    {"trace", Trace, "3", "2", {{"open", "0D1: one\nD1: two\n"}, {"close of what was written", "3"}}},
};

// Runs with call number `failing` going wrong. Tells what the run told, and what it has left that it must not.
std::string Run(const Scenario& scenario, size_t failing = SIZE_MAX, int fault = 0) {
  const auto descriptors = [] { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); };
  const auto before = descriptors();
  watch = {true, failing, fault};
  std::string told = scenario.run();
  watch.on = false;
  if (descriptors() != before) told += " and a descriptor";
  for (const auto& entry : fs::directory_iterator("."))
    if (entry.path().filename().native().starts_with(".")) told += " and a temporary file";
  return told;
}

// Gives back which calls were made.
std::set<std::string> FailEach(const Scenario& scenario) {
  Reset();
  EXPECT_EQ(Run(scenario), scenario.undisturbed) << scenario.what;
  const std::vector<std::string> calls = watch.made;
  for (size_t i = 0; i < calls.size(); ++i)
    for (const int fault : FAULTS) {
      SCOPED_TRACE(scenario.what + (": " + calls[i]) + " as call " + std::to_string(i) + ", " + strerror(fault));
      Reset();
      EXPECT_EQ(Run(scenario, i, fault), scenario.Expected(calls[i], fault));
      EXPECT_EQ(Run(scenario), scenario.undisturbed) << "afterwards";
    }
  return {calls.begin(), calls.end()};
}

TEST(FileFaults, GiveTheDocumentedAnswers) {
  tool::ScratchDirectory scratch;
  const fs::path before = fs::current_path();
  fs::current_path(scratch.Path());
  std::set<std::string> failed;
  for (const Scenario& scenario : SCENARIOS) failed.merge(FailEach(scenario));
  EXPECT_EQ(failed.size(), 12U) << "some of the system calls above are never made";
  ini_CloseAll();
  fs::current_path(before);
}

}  // namespace
}  // namespace vorlix::test
