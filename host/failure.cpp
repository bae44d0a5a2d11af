#include "host/failure.h"

#include <cstring>
#include <string_view>

namespace vorlix::host {
namespace {

// As much of the end of standard error as a message for people has room for.
constexpr size_t LAST_WORDS = 1000;

std::string DiedMessage(const Ending& ending, std::string_view standard_error) {
  std::string message = "the server has ended: " + ending.Text();
  while (standard_error.ends_with('\n')) standard_error.remove_suffix(1);
  if (standard_error.empty()) return message;
  const bool cut = standard_error.size() > LAST_WORDS;
  if (cut) standard_error.remove_prefix(standard_error.size() - LAST_WORDS);
  return message.append("; it wrote: ").append(cut ? "..." : "").append(standard_error);
}

}  // namespace

std::string Ending::Text() const {
  if (signal != 0) {
    const char* name = sigdescr_np(signal);
    return "signal " + std::to_string(signal) + (name != nullptr ? " (" + std::string(name) + ")" : "");
  }
  return exit_status >= 0 ? "exit status " + std::to_string(exit_status) : "unknown status";
}

ServerError::ServerError(const Ending& ending, const std::string& standard_error)
    : runtime_error(DiedMessage(ending, standard_error)),
      failure_(Failure::Died),
      ending_(ending),
      standard_error_(standard_error) {}

}  // namespace vorlix::host
