#include "tools/session.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "tools/ending.h"
#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view ALL_FAILURES = "*1";

// The names of all locales of the system, and of those in LOCPATH, as " C de_DE".
std::string InstalledLocales() {
  std::string names;
  std::error_code ignored;
  if (const char* const path = std::getenv("LOCPATH"))
    for (const auto& entry : std::filesystem::directory_iterator(path, ignored))
      names += ' ' + entry.path().filename().string();
  std::FILE* const list = popen("locale -a 2>/dev/null", "r");
  if (list == nullptr) return names;
  std::array<char, 256> line;
  while (std::fgets(line.data(), line.size(), list) != nullptr)
    names += ' ' + std::string(line.data(), std::strcspn(line.data(), "\n"));
  pclose(list);
  return names;
}

host::ServerOptions ServerOptionsOf(const Options& options) {
  host::ServerOptions result;
  result.program = options.server;
  result.segment_size = static_cast<size_t>(options.segment_megabytes) << 20;
  result.timeout = std::chrono::milliseconds(static_cast<int64_t>(options.timeout * 1000));
  result.standard_error = host::StandardError::Capture;
  result.is_interrupted = [] { return EndingSignal() != 0; };
  if (options.language.empty()) return result;
  RequireLanguage(options.language);
  // The other variables would come before LANG.
  result.environment = {{"LANG", options.language}, {"ZENDLANG", {}}, {"LC_COLLATE", {}}, {"LC_CTYPE", {}}};
  return result;
}

// The locale that decides how the server reads texts.
std::string ServerLocale(const Options& options) {
  if (!options.language.empty()) return options.language;
  for (const char* const name : {"ZENDLANG", "LC_CTYPE", "LANG"})
    if (const char* const value = std::getenv(name); value != nullptr && *value != '\0') return value;
  return "C";
}

// A line of the category trace of level 1, of whichever category.
bool IsFailure(std::string_view line) {
  return line.size() > 4 && line[0] >= 'A' && line[0] <= 'Z' && line.substr(1).starts_with("1: ");
}

}  // namespace

void RequireLanguage(const std::string& language) {
  if (EncodingOf(language).empty())
    throw ToolError(Status::Usage, "this system has no locale '" + language + "'; it has" + InstalledLocales());
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
    : server_(ServerOptionsOf(options)),
      keeps_failures_(options.flags.empty()),
      counts_bytes_(is_typed && EncodingOf(ServerLocale(options)) == "UTF-8") {
  const std::string flags = keeps_failures_ ? std::string(ALL_FAILURES) : options.flags;
  TellOfRevision();
  Place("dll_SetDebugFlags", {host::Text(flags), host::Text("")});
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
  if (function == "dll_SetDebugFlags") {
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
    std::fprintf(stderr, "vorlix: the server is of revision %s, this program of " VORLIX_VERSION "\n",
                 Printable(revision).c_str());
}

void Session::TellOfBytes(const std::vector<host::Arg>& args) {
  const auto is_ascii = [](const std::string& text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  };
  for (const host::Arg& arg : args)
    if (arg.Class() == HOST_STRING && counts_bytes_ && !is_ascii(arg.TextAt())) {
      std::fputs("vorlix: in UTF-8 the server counts a character beyond ASCII as its bytes\n", stderr);
      counts_bytes_ = false;
    }
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
