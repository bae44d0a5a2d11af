#include "dll/base/clock.h"

namespace vorlix {
namespace {

LocalTime clock_in_force = SystemTime;

}  // namespace

std::tm SystemTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local;
}

std::tm LocalTimeNow() { return clock_in_force(); }

void SetClock(LocalTime clock) { clock_in_force = clock; }

}  // namespace vorlix
