// Servers, and the large results that they send.
#include <dlfcn.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>

#include "host/c/handles.h"
#include "host/csdx.h"

namespace vorlix::c {
namespace {

using std::chrono::milliseconds;

// Beside this library, as they are built, or where one is installed as seen from the other; none elsewhere.
std::string ServerOfThisLibrary() {
  namespace fs = std::filesystem;
  Dl_info library{};
  if (dladdr(reinterpret_cast<const void*>(&vorlix_start), &library) == 0) return {};
  std::error_code ignored;
  const fs::path here = fs::canonical(library.dli_fname, ignored).parent_path();
  for (const fs::path& place : {here, here / VORLIX_LIBEXEC_FROM_LIB})
    if (fs::is_regular_file(place / "vorlix.dll", ignored)) return place / "vorlix.dll";
  return {};
}

host::EnvironmentChanges ReadEnvironment(const char* const* environment) {
  host::EnvironmentChanges changes;
  for (; environment != nullptr && *environment != nullptr; ++environment) {
    const std::string_view change = *environment;
    const size_t equals = change.find('=');
    std::optional<std::string> value;
    if (equals != std::string_view::npos) value = change.substr(equals + 1);
    changes.emplace_back(change.substr(0, equals), value);
  }
  return changes;
}

host::ServerOptions ReadOptions(const vorlix_options& options) {
  if (options.size != sizeof options)
    throw Fault(VORLIX_BAD_USE, "options: size is " + std::to_string(options.size) + ", not " +
                                    std::to_string(sizeof options) + ", the size of vorlix_options");
  if (options.timeout_ms < 0) throw Fault(VORLIX_BAD_USE, "options: timeout_ms is below 0");
  host::ServerOptions read;
  read.program = options.program != nullptr ? options.program : ServerOfThisLibrary();
  read.environment = ReadEnvironment(options.environment);
  if (options.segment_size != 0) read.segment_size = options.segment_size;
  if (options.timeout_ms != 0) read.timeout = milliseconds(options.timeout_ms);
  if (options.capture_stderr != 0) read.standard_error = host::StandardError::Capture;
  return read;
}

host::Server& Running(const vorlix_server* server) {
  Need(server, "the server");
  return *server->server;
}

}  // namespace

char* CopyForCaller(const std::string& text) {
  void* copy = std::malloc(text.size() + 1);
  if (copy == nullptr) throw std::bad_alloc();
  return static_cast<char*>(std::memcpy(copy, text.c_str(), text.size() + 1));
}

}  // namespace vorlix::c

using namespace vorlix;
using namespace vorlix::c;

const char* vorlix_version() { return VORLIX_VERSION; }

void vorlix_free(void* memory) { std::free(memory); }

vorlix_status vorlix_start(const vorlix_options* options, vorlix_server** server) {
  return Try([&] {
    Need(server, "the place for the server");
    const vorlix_options defaults = {sizeof defaults, nullptr, nullptr, 0, 0, 0};
    const host::ServerOptions read = ReadOptions(options != nullptr ? *options : defaults);
    *server = new vorlix_server{std::make_shared<host::Server>(read)};
  });
}

void vorlix_server_free(vorlix_server* server) { delete server; }

vorlix_status vorlix_end(vorlix_server* server, int32_t* exit_status, int32_t* signal) {
  return Try([&] {
    const host::Ending ending = Running(server).End();
    if (exit_status != nullptr) *exit_status = ending.exit_status;
    if (signal != nullptr) *signal = ending.signal;
  });
}

int32_t vorlix_server_pid(const vorlix_server* server) { return server != nullptr ? server->server->Pid() : 0; }

vorlix_status vorlix_set_timeout(vorlix_server* server, int32_t milliseconds) {
  return Try([&] {
    host::Server& running = Running(server);
    if (milliseconds < 0) throw Fault(VORLIX_BAD_USE, "a time-out below 0");
    running.SetTimeout(milliseconds != 0 ? std::chrono::milliseconds(milliseconds) : host::ServerOptions().timeout);
  });
}

vorlix_status vorlix_take_stderr(vorlix_server* server, char** text, size_t* length) {
  return Try([&] {
    Need(text, "the place for the text");
    const std::string taken = Running(server).TakeStandardError();
    *text = CopyForCaller(taken);
    if (length != nullptr) *length = taken.size();
  });
}

vorlix_status vorlix_fetch(vorlix_server* server, int32_t capacity, int32_t* code, char** bytes, size_t* length) {
  return Try([&] {
    Need(bytes, "the place for the result");
    const host::Transfer transfer = host::FetchTransfer(Running(server), capacity);
    *bytes = transfer.code == 0 ? CopyForCaller(transfer.payload) : nullptr;
    if (length != nullptr) *length = transfer.code == 0 ? transfer.payload.size() : 0;
    if (code != nullptr) *code = transfer.code;
  });
}

vorlix_status vorlix_fetch_blocks(vorlix_server* server, int32_t capacity, int32_t* code,
                                  bool (*take)(void* context, const char* bytes, size_t length), void* context) {
  return Try([&] {
    host::Server& running = Running(server);
    if (take == nullptr) throw Fault(VORLIX_BAD_USE, "the function that takes the pieces is NULL");
    const auto take_piece = [&](std::string_view piece) { return take(context, piece.data(), piece.size()); };
    const host::Transfer transfer =
        host::FetchTransfer(std::bind_front(&host::Server::Call, &running), capacity, take_piece);
    if (code != nullptr) *code = transfer.code;
  });
}
