// What the opaque handles of vorlix.h are.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/c/outcome.h"
#include "host/c/vorlix.h"
#include "host/call.h"
#include "host/server.h"

struct vorlix_server {
  // Calls hold it as well, so that handles may be freed in any order.
  std::shared_ptr<vorlix::host::Server> server;
};

struct vorlix_call {
  std::shared_ptr<vorlix::host::Server> server;
  std::string function;
  std::vector<vorlix::host::Arg> args;
  vorlix_status bad_argument = VORLIX_OK;  // why one could not be put
  std::string bad_argument_message = {};

  std::optional<uint64_t> number = {};              // by which the server knows the call, once it is placed
  std::optional<vorlix::host::Result> result = {};  // once it is answered
  std::map<std::pair<size_t, size_t>, std::string> decimals = {};  // what was asked for of reals that came back
  std::string fault = {};                                          // what vorlix_call_fault gave
};

namespace vorlix::c {

/// How messages name an argument.
inline std::string Numbered(size_t arg) { return "argument " + std::to_string(arg) + " (counted from 0)"; }

/// A copy that C code frees with vorlix_free: the bytes and a NUL. Throws std::bad_alloc.
char* CopyForCaller(const std::string& text);

}  // namespace vorlix::c
