#include "tools/lsp/lsp.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>

#include "tools/ending.h"
#include "tools/lsp/frames.h"
#include "tools/lsp/server.h"

namespace vorlix::tool {
namespace {

using Clock = std::chrono::steady_clock;

// Findings are told so often at the least while changes keep coming.
constexpr std::chrono::milliseconds LONGEST_BURST(300);

void Send(const std::string& content) {
  const std::string frame = Frame(content);
  std::fwrite(frame.data(), 1, frame.size(), stdout);
  std::fflush(stdout);
}

bool IsInputWaiting() {
  pollfd input = {STDIN_FILENO, POLLIN, 0};
  return poll(&input, 1, 0) > 0;
}

// False at the end of the input, and when a signal came.
bool ReadMore(FrameReader& reader) {
  std::array<char, 65536> bytes;
  for (;;) {
    const ssize_t size = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (size < 0 && errno == EINTR && EndingSignal() == 0) continue;
    if (size > 0) reader.Feed({bytes.data(), static_cast<size_t>(size)});
    return size > 0;
  }
}

}  // namespace

Status ServeEditor(const std::vector<std::string>& models, const std::string& language) {
  CheckOptions options;
  options.models = models;
  options.language = language;
  LanguageServer server(std::move(options), Send);
  FrameReader reader;
  Clock::time_point settled = Clock::now();
  bool was_spoken_to = false;
  try {
    while (!server.IsOver() && ReadMore(reader)) {
      was_spoken_to = true;
      while (const std::optional<std::string> message = reader.Next()) server.Handle(*message);
      if (IsInputWaiting() && Clock::now() < settled + LONGEST_BURST) continue;
      server.Settle();
      settled = Clock::now();
    }
  } catch (const FramingLost& error) {
    throw ToolError(Status::Usage, error.what());
  }
  return server.IsShutDown() || !was_spoken_to ? Status::Ok : Status::OtherCode;
}

}  // namespace vorlix::tool
