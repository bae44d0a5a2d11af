#include "tools/session.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <stdexcept>

#include "tools/ending.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/quoting.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view ALL_FAILURES = "*1";

// A variable of the server's environment; empty when it has none.
std::string VariableOf(const Options& options, const std::string& name) {
  const auto changed = std::ranges::find(options.variables, name, &host::EnvironmentChanges::value_type::first);
  if (changed != options.variables.end()) return changed->second.value_or("");
  const char* const value = std::getenv(name.c_str());
  return value != nullptr ? value : "";
}

// The locale that decides how the server reads texts.
std::string ServerLocale(const Options& options) {
  if (!options.language.empty()) return options.language;
  for (const std::string name : {"ZENDLANG", "LC_CTYPE", "LANG"})
    if (const std::string value = VariableOf(options, name); !value.empty())
      return name == "ZENDLANG" ? value.substr(0, value.find('@')) : value;
  return "C";
}

constexpr const char* CLOCK_FILE = "/clock";

host::ServerOptions ServerOptionsOf(const Options& options, ScratchDirectory& scratch) {
  host::ServerOptions result;
  result.program = options.server;
  result.segment_size = static_cast<size_t>(options.segment_megabytes) << 20;
  result.timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout * 1000));
  result.standard_error = host::StandardError::Capture;
  result.is_interrupted = [] { return EndingSignal() != 0; };
  // By a call it would be in every recording, and change what its player turns on.
  if (options.flags.empty()) result.environment.emplace_back("VORLIX_FLAGS", ALL_FAILURES);
  if (options.has_clock) result.environment.emplace_back("VORLIX_CLOCK", scratch.Path() + CLOCK_FILE);
  if (options.language.empty()) {
    for (const auto& [name, value] : options.variables)
      if (value && !value->empty()) RequireLanguage(name == "ZENDLANG" ? value->substr(0, value->find('@')) : *value);
    result.environment.insert(result.environment.end(), options.variables.begin(), options.variables.end());
    return result;
  }
  RequireLanguage(options.language);
  // The other variables would come before LANG.
  const host::EnvironmentChanges language = {
      {"LANG", options.language}, {"ZENDLANG", {}}, {"LC_COLLATE", {}}, {"LC_CTYPE", {}}};
  result.environment.insert(result.environment.end(), language.begin(), language.end());
  return result;
}

// A line of the category trace of level 1, of whichever category.
bool IsFailure(std::string_view line) {
  return line.size() > 4 && line[0] >= 'A' && line[0] <= 'Z' && line.substr(1).starts_with("1: ");
}

// As " C de_DE".
std::string Listed(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += ' ' + name;
  return all;
}

}  // namespace

std::vector<std::string> InstalledLocales() {
  std::vector<std::string> found;
  std::error_code ignored;
  if (const char* const path = std::getenv("LOCPATH"))
    for (const auto& entry : std::filesystem::directory_iterator(path, ignored))
      found.push_back(entry.path().filename().string());
  std::FILE* const list = popen("locale -a 2>/dev/null", "r");
  std::array<char, 256> line;
  while (list != nullptr && std::fgets(line.data(), line.size(), list) != nullptr)
    found.emplace_back(line.data(), std::strcspn(line.data(), "\n"));
  if (list != nullptr) pclose(list);
  std::ranges::sort(found);
  return {found.begin(), std::unique(found.begin(), found.end())};
}

void RequireLanguage(const std::string& language) {
  if (EncodingOf(language).empty())
    throw ToolError(Status::Usage, "this system has no locale '" + language + "'; it has" + Listed(InstalledLocales()));
}

Encoding EncodingFor(const Options& options, bool by_default) {
  constexpr std::string_view ASCII = "ANSI_X3.4-1968";
  const std::string of_server = EncodingOf(ServerLocale(options));
  if (!options.encoding.empty()) return Encoding(options.encoding, of_server.empty() ? std::string(ASCII) : of_server);
  const std::string outside = by_default ? EncodingOf("") : "";
  if (outside.empty() || of_server.empty() || outside == ASCII || of_server == ASCII) return {};
  return Encoding(outside, of_server);
}

Session::Session(const Options& options, bool is_typed)
    : server_(ServerOptionsOf(options, scratch_)),
      keeps_failures_(options.flags.empty()),
      counts_bytes_(is_typed && EncodingOf(ServerLocale(options)) == "UTF-8") {
  try {
    TellOfRevision();
  } catch (const host::ServerError& error) {
    if (options.server.empty() || error.Kind() != host::Failure::Died) throw;
    throw ToolError(Status::Died, error.what() + std::string("; is ") + options.server + " the server, vorlix.dll?");
  }
  if (!keeps_failures_) Place("dll_SetDebugFlags", {host::Text(options.flags), host::Text("")});
  if (options.trace) Place("dll_Debug", {host::Int(*options.trace)});
}

Session::~Session() {
  try {
    server_.End();
    PassOn(server_.TakeStandardError());
  } catch (const std::exception&) {
    return;  // the server's end is not the program's fault
  }
}

host::Result Session::Call(std::string_view function, const std::vector<host::Arg>& args) {
  if (function == "dll_SetDebugFlags" && args.size() == 2 && args[1].Class() == HOST_STRING) {
    keeps_failures_ = false;
    traces_to_file_ = !args.at(1).TextAt().empty();
  }
  if (counts_bytes_) TellOfBytes(args);
  return Place(function, args);
}

host::Result Session::Ask(std::string_view function, const std::vector<host::Arg>& args) {
  if (traces_to_file_) return {-1, args};
  host::Result result = server_.Call(function, args);
  server_.TakeStandardError();
  return result;
}

void Session::KeepFailures() {
  Place("dll_SetDebugFlags", {host::Text(ALL_FAILURES), host::Text("")});
  keeps_failures_ = true;
}

void Session::SetClock(const std::string& time) {
  std::tm ignored{};
  const char* const end = strptime(time.c_str(), "%Y-%m-%d %H:%M:%S", &ignored);
  if (end == nullptr || *end != '\0')
    throw ToolError(Status::Usage, Quote(time) + " is no time as 2026-11-23 22:07:57");
  WriteFile(scratch_.Path() + CLOCK_FILE, time);
}

// The last words of a server that has ended are passed on, and need not stand in the message again.
host::Result Session::Place(std::string_view function, const std::vector<host::Arg>& args) {
  reasons_.clear();
  try {
    host::Result result = server_.Call(function, args);
    PassOn(server_.TakeStandardError());
    return result;
  } catch (const std::length_error& error) {
    throw ToolError(Status::Usage, error.what() + std::string("; --segment makes it larger"));
  } catch (const host::ServerError& error) {
    if (error.Kind() != host::Failure::Died) throw;
    keeps_failures_ = false;
    PassOn(server_.TakeStandardError());
    throw host::ServerError(*error.HowEnded(), "");
  }
}

// Calls may mean something else in a server of another revision.
void Session::TellOfRevision() {
  const host::Result result = Place("dll_Revision", {host::OutText(80)});
  const std::string revision = result.args.at(0).TextAt();
  if (result.code == 0 && revision != VORLIX_VERSION)
    Tell("the server is of revision " + revision + ", this program of " VORLIX_VERSION);
}

void Session::TellOfBytes(const std::vector<host::Arg>& args) {
  const auto is_ascii = [](const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  };
  const auto is_counted = [&](const host::Arg& arg) { return arg.Class() == HOST_STRING && !is_ascii(arg.TextAt()); };
  if (!counts_bytes_ || std::ranges::none_of(args, is_counted)) return;
  Tell("in UTF-8 the server counts a character beyond ASCII as its bytes");
  counts_bytes_ = false;  // it is said once
}

void Session::PassOn(const std::string& written) {
  static const bool is_terminal = isatty(STDERR_FILENO) == 1;
  for (std::string_view rest = written; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const std::string_view whole = rest.substr(0, line.size() + 1);
    rest.remove_prefix(whole.size());
    if (keeps_failures_ && IsFailure(line)) {
      reasons_ += "\n  " + Printable(line);
    } else if (is_terminal) {
      std::fputs(Printable(whole).c_str(), stderr);
    } else {
      std::fwrite(whole.data(), 1, whole.size(), stderr);
    }
  }
}

}  // namespace vorlix::tool
