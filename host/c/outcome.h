// How functions of the C library come to their status and message: they run as C++, and what that throws ends here.
#pragma once

#include <concepts>
#include <stdexcept>
#include <string>

#include "host/c/vorlix.h"

namespace vorlix::c {

/// A failure with the status that the caller gets.
class Fault : public std::runtime_error {
 public:
  Fault(vorlix_status status, const std::string& message) : runtime_error(message), status_(status) {}
  vorlix_status Status() const { return status_; }

 private:
  vorlix_status status_;
};

/// Throws Fault (VORLIX_BAD_USE) for a null pointer, which `what` names.
void Need(const void* pointer, const char* what);

/// Throws Fault (VORLIX_BAD_VALUE) for a count or length that no segment can hold, which `what` names.
void NeedSize(size_t size, const char* what);

/// To be called while an exception is handled: keeps its message for this thread, and gives the status that it stands
/// for.
vorlix_status Failed();

/// Runs the body of a function that gives a status.
vorlix_status Try(std::invocable auto body) {
  try {
    body();
    return VORLIX_OK;
  } catch (const std::exception&) {
    return Failed();
  }
}

/// Runs the body of a function that gives a pointer, or null.
auto* TryPointer(std::invocable auto body) {
  decltype(body()) result = nullptr;
  Try([&] { result = body(); });
  return result;
}

}  // namespace vorlix::c
