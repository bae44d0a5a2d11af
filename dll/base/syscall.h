// System calls that are interrupted or fail.
#pragma once

#include <cerrno>
#include <cstdint>

namespace vorlix {

/// Makes a system call again for as long as signals interrupt it.
template <class Call>
auto Retry(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// How the host is told of a failure: the negative error number, or -1 where the system gave none.
inline int32_t MinusErrno() { return errno != 0 ? -errno : -1; }

}  // namespace vorlix
