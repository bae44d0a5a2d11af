#include "dll/record/clock.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <optional>

#include "dll/base/clock.h"
#include "dll/base/syscall.h"

namespace vorlix {
namespace {

const char* clock_file = nullptr;
std::optional<std::tm> told;

// The time that the file holds, with the days of week and year that belong to it; that of the system when it holds
// none.
std::tm FileTime() {
  std::array<char, 32> text{};
  const int fd = Retry([] { return open(clock_file, O_RDONLY | O_CLOEXEC | O_NONBLOCK); });
  if (fd < 0) return SystemTime();
  const ssize_t size = Retry([&] { return read(fd, text.data(), text.size() - 1); });
  close(fd);
  std::tm time{};
  if (size <= 0 || strptime(text.data(), "%Y-%m-%d %H:%M:%S", &time) == nullptr) return SystemTime();
  return time;
}

std::tm CurrentTime() { return clock_file != nullptr ? FileTime() : SystemTime(); }

std::tm NotedTime() {
  told = CurrentTime();
  return *told;
}

}  // namespace

void NoteTimes() { SetClock(NotedTime); }

void AppendClock(std::string& out) {
  if (!told) return;
  std::array<char, 48> text{};
  out.append(text.data(), std::strftime(text.data(), text.size(), "clock \"%Y-%m-%d %H:%M:%S\"\n", &*told));
  told.reset();
}

void GoByClockFile(const char* path) {
  clock_file = path;
  SetClock(CurrentTime);
}

}  // namespace vorlix
