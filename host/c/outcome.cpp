#include "host/c/outcome.h"

#include <array>
#include <cstdint>
#include <new>
#include <string_view>
#include <system_error>

#include "host/failure.h"

namespace vorlix::c {
namespace {

// It has to be kept where there is no memory, too. The longest message is that of a server that has ended.
constexpr size_t LONGEST_MESSAGE = 1500;
thread_local std::array<char, LONGEST_MESSAGE + 1> last_message;

vorlix_status Keep(vorlix_status status, std::string_view message) {
  const size_t length = message.copy(last_message.data(), LONGEST_MESSAGE);
  last_message.at(length) = '\0';
  return status;
}

vorlix_status StatusOf(host::Failure failure) {
  switch (failure) {
    case host::Failure::NoServer: return VORLIX_NO_SERVER;
    case host::Failure::Timeout:
    case host::Failure::Interrupted: return VORLIX_TIMEOUT;
    case host::Failure::Died: return VORLIX_DIED;
    case host::Failure::Busy: return VORLIX_BUSY;
  }
  return VORLIX_BAD_USE;
}

}  // namespace

void Need(const void* pointer, const char* what) {
  if (pointer == nullptr) throw Fault(VORLIX_BAD_USE, std::string(what) + " is NULL");
}

void NeedSize(size_t size, const char* what) {
  constexpr size_t MOST = INT32_MAX;
  if (size > MOST)
    throw Fault(VORLIX_BAD_VALUE, std::string(what) + " is " + std::to_string(size) + ", beyond 32 bits");
}

vorlix_status Failed() {
  try {
    throw;
  } catch (const Fault& fault) {
    return Keep(fault.Status(), fault.what());
  } catch (const host::ServerError& error) {
    return Keep(StatusOf(error.Kind()), error.what());
  } catch (const std::length_error& error) {  // of host::PlaceCall, and of std::string
    return Keep(VORLIX_TOO_LARGE, error.what());
  } catch (const std::invalid_argument& error) {  // of host::ReadXbuf and its kind
    return Keep(VORLIX_BAD_VALUE, error.what());
  } catch (const std::bad_alloc&) {
    return Keep(VORLIX_NO_MEMORY, "no memory");
  } catch (const std::system_error& error) {
    return Keep(VORLIX_SYSTEM, error.what());
  } catch (const std::runtime_error& error) {  // of host::FetchTransfer
    return Keep(VORLIX_BAD_VALUE, error.what());
  } catch (const std::exception& error) {
    return Keep(VORLIX_BAD_USE, error.what());
  }
}

}  // namespace vorlix::c

const char* vorlix_error_message() { return vorlix::c::last_message.data(); }
