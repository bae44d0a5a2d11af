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

/// How the host is told what came of a file (`rc_p`): one of these, or the negative error number of the system.
enum [[nodiscard]] FileCode : int32_t{
    FILE_FAILED = -1,  // for a reason that the system has not said
    FILE_OK = 0,
    FILE_REFUSED = 1,  // it could be read, and its content is wrong
};

/// The negative error number, or FILE_FAILED where there is none.
inline FileCode MinusErrno() { return errno != 0 ? FileCode{-errno} : FILE_FAILED; }

}  // namespace vorlix
