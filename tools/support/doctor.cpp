#include "tools/support/doctor.h"

#include <langinfo.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "tools/encoding.h"
#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/support/processes.h"
#include "tools/support/roundtrip.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

enum class Verdict { Good, Doubtful, Bad };
constexpr std::array<const char*, 3> VERDICTS = {"good", "doubtful", "bad"};

struct Finding {
  Verdict verdict;
  std::string subject;
  std::string words;
  std::string remedy;  // what to do; empty when it is good
};

constexpr uint64_t MEGABYTE = 1 << 20;

std::string Rounded(double number, const char* unit) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%.1f%s", number, unit);
  return text.data();
}

std::string Megabytes(uint64_t bytes) {
  if (bytes >= 10 * 1024 * MEGABYTE) return std::to_string(bytes / MEGABYTE / 1024) + " GB";
  return std::to_string(bytes / MEGABYTE) + " MB";
}

// ---- The server -----------------------------------------------------------------------------------------------------

std::string ProgramOf(const Options& options) {
  return options.server.empty() ? host::FindServerProgram() : options.server;
}

Finding Server(const Options& options, const std::string& program, host::Server& server) {
  const host::Result result = server.Call("dll_Revision", {host::OutText(80)});
  const std::string revision = result.args.at(0).TextAt();
  const std::string words = program + " answers, revision " + Printable(revision);
  if (revision == VORLIX_VERSION) return {Verdict::Good, "server", words, ""};
  return {Verdict::Doubtful, "server", words + "; this program is " VORLIX_VERSION,
          options.server.empty() ? "Install both from one package." : "Name the server of this revision."};
}

Finding Calls(host::Server& server) {
  constexpr double MUCH = 2.0;
  const RoundTrip measured = MeasureRoundTrip(server);
  const double ratio = measured.call / measured.signals;
  const std::string words = "a call takes " + Rounded(measured.call, " us") + ", " + Rounded(ratio, "") +
                            " times as long as two bare signals";
  if (ratio <= MUCH) return {Verdict::Good, "round trip", words, ""};
  return {Verdict::Doubtful, "round trip", words, "1.2 times is usual: look what else runs, and measure again."};
}

std::vector<Finding> LookAtServer(const Options& options) {
  std::string program;
  try {
    program = ProgramOf(options);
    // What the environment would have it record is for the servers that are looked for.
    host::Server server({.program = program,
                         .environment = {{"VORLIX_RECORD", {}}, {"VORLIX_DEBUG", {}}, {"VORLIX_FLAGS", {}}},
                         .standard_error = host::StandardError::Capture});
    const Finding found = Server(options, program, server);
    return {found, Calls(server)};
  } catch (const std::exception& error) {
    const std::string given = options.server.empty() ? "" : "--server " + QuoteWord(options.server) + ' ';
    const std::string remedy = program.empty()
                                   ? "Install the server, or name it with --server PATH."
                                   : "See what it says when it is called alone: vorlix " + given + "call dll_Revision";
    return {{Verdict::Bad, "server", Printable(error.what()), remedy}};
  }
}

// ---- Segments -------------------------------------------------------------------------------------------------------

// A number of the kernel; none where it does not say it.
std::optional<uint64_t> Limit(const char* name) {
  std::ifstream file(std::string("/proc/sys/kernel/") + name);
  uint64_t number = 0;
  return file >> number ? std::optional(number) : std::nullopt;
}

struct Segments {
  uint64_t count = 0;
  uint64_t bytes = 0;
};

// All segments of the machine, by the fourth column and the number of lines.
Segments SegmentsInUse() {
  std::ifstream file("/proc/sysvipc/shm");
  Segments segments;
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    unsigned long size = 0;
    if (std::sscanf(line.c_str(), "%*s %*s %*s %lu", &size) == 1) segments.bytes += size;
    ++segments.count;
  }
  return segments;
}

uint64_t MemoryAvailable() {
  std::ifstream file("/proc/meminfo");
  for (std::string line; std::getline(file, line);) {
    unsigned long kilobytes = 0;
    if (std::sscanf(line.c_str(), "MemAvailable: %lu", &kilobytes) == 1) return kilobytes * 1024;
  }
  return 0;
}

Finding LookAtSegments(const Options& options) {
  constexpr uint64_t FEW = 8;
  const uint64_t size = static_cast<uint64_t>(options.segment_megabytes) * MEGABYTE;
  const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  const uint64_t number = Limit("shmmni").value_or(0);
  const uint64_t largest = Limit("shmmax").value_or(0);
  const uint64_t pages = Limit("shmall").value_or(0);
  const Segments used = SegmentsInUse();
  const std::string of_size = "segments of " + Megabytes(size);
  if (largest < size)
    return {Verdict::Bad, "segments",
            "one may have at most " + Megabytes(largest) + ", and " + Megabytes(size) + " are wanted",
            "sysctl kernel.shmmax=" + std::to_string(size) + ", or smaller segments (--segment)."};
  const uint64_t by_number = number - std::min(number, used.count);
  // In pages: the limit can be larger than bytes can be counted.
  const uint64_t used_pages = used.bytes / page;
  const uint64_t by_pages = (pages - std::min(pages, used_pages)) / (size / page);
  const uint64_t by_memory = MemoryAvailable() / size;
  const uint64_t servers = std::min({by_number, by_pages, by_memory});
  const std::string words = "room for " + std::to_string(servers) + " more servers with " + of_size;
  if (servers >= FEW) return {Verdict::Good, "segments", words, ""};
  std::string remedy =
      servers == by_number  ? "sysctl kernel.shmmni bounds their number: it is " + std::to_string(number) + '.'
      : servers == by_pages ? "sysctl kernel.shmall bounds their pages: it is " + std::to_string(pages) + '.'
                            : "There is not more memory: take smaller segments (--segment).";
  return {servers == 0 ? Verdict::Bad : Verdict::Doubtful, "segments", words, remedy + " ipcs -m lists them."};
}

// ---- The language ---------------------------------------------------------------------------------------------------

struct Variable {
  std::string name;
  std::string locale;
};

// The variables that decide about the language, each with its locale, as the server reads them.
std::vector<Variable> Variables(const Options& options) {
  if (!options.language.empty()) return {{"--lang", options.language}};
  const auto value = [](const char* name) {
    const char* const text = std::getenv(name);
    return std::string(text != nullptr ? text : "");
  };
  if (const std::string all = value("ZENDLANG"); !all.empty()) return {{"ZENDLANG", all.substr(0, all.find('@'))}};
  std::vector<Variable> variables = {{"LANG", value("LANG")}};
  if (variables[0].locale.empty()) variables[0].locale = "C";
  for (const char* const name : {"LC_CTYPE", "LC_COLLATE"})
    if (const std::string locale = value(name); !locale.empty()) variables.push_back({name, locale});
  return variables;
}

std::string Shown(const char* text) { return *text != '\0' ? Quote(text) : std::string("none"); }

std::vector<Finding> LookAtLanguage(const Options& options) {
  std::vector<Finding> findings;
  for (const auto& [name, locale] : Variables(options)) {
    const LocaleScope scope(LC_ALL, locale);
    const std::string asked = Printable(locale) + " (" + name + ")";
    if (!scope.IsInstalled()) {
      findings.push_back({Verdict::Bad, "language", asked + " is not installed: the server goes by C",
                          "Install it (as root: dpkg-reconfigure locales), or name one of locale -a."});
      continue;
    }
    findings.push_back({Verdict::Good, "language", asked + ", " + nl_langinfo(CODESET), ""});
    if (name == "LANG" || name == "ZENDLANG" || name == "--lang")
      findings.push_back({Verdict::Good, "formats",
                          "decimal point " + Shown(nl_langinfo(RADIXCHAR)) + ", thousands " +
                              Shown(nl_langinfo(THOUSEP)) + ", dates " + Shown(nl_langinfo(D_FMT)) + ", times " +
                              Shown(nl_langinfo(T_FMT)),
                          ""});
  }
  return findings;
}

// ---- Places to write ------------------------------------------------------------------------------------------------

// Whether a trace or a recording can be written into a directory.
Finding LookAtDirectory(const std::string& subject, const std::string& directory) {
  constexpr uint64_t LITTLE = 256 * MEGABYTE;
  struct statvfs status {};
  const std::string shown = Printable(directory);
  if (access(directory.c_str(), W_OK | X_OK) != 0 || statvfs(directory.c_str(), &status) != 0)
    return {Verdict::Bad, subject, shown + " cannot be written: " + std::strerror(errno),
            "Choose another directory, or give this user the right to write there."};
  const uint64_t room = uint64_t{status.f_bavail} * status.f_frsize;
  const std::string words = shown + " can be written, " + Megabytes(room) + " are free";
  if (room >= LITTLE) return {Verdict::Good, subject, words, ""};
  return {Verdict::Doubtful, subject, words,
          "A recording can have " + Megabytes(LITTLE) + "; VORLIX_RECORD_MAX bounds it."};
}

// What the environment has servers do.
std::vector<Finding> LookAtEnvironment() {
  std::vector<Finding> findings;
  if (const char* const record = std::getenv("VORLIX_RECORD"); record != nullptr && *record != '\0') {
    std::error_code ignored;
    const std::string path = record;
    struct stat status {};
    const bool is_there = path.find('%') == std::string::npos && lstat(record, &status) == 0;
    findings.push_back(LookAtDirectory("recording", fs::absolute(path, ignored).parent_path().string()));
    if (is_there && (!S_ISREG(status.st_mode) || status.st_size != 0))
      findings.push_back({Verdict::Bad, "recording", Printable(path) + " is there already: nothing will be recorded",
                          "Move it away, or write %p into the name of VORLIX_RECORD."});
  }
  for (const char* const name : {"VORLIX_CLOCK", "VORLIX_DEBUG", "VORLIX_FLAGS"})
    if (const char* const value = std::getenv(name); value != nullptr && *value != '\0')
      findings.push_back({Verdict::Doubtful, "environment", std::string(name) + " is " + Printable(value),
                          "Unset it, unless a fault is looked for."});
  return findings;
}

Finding LookAtLeftServers() {
  std::string left;
  for (const RunningServer& server : FindServers())
    if (server.host_name.empty() && server.attached.size() <= 1) left += ' ' + std::to_string(server.pid);
  if (left.empty()) return {Verdict::Good, "processes", "no server has lost its host", ""};
  return {Verdict::Doubtful, "processes", "servers without a host:" + left,
          "They end within two seconds; those that do not are in a call, or stopped: kill them."};
}

// ---- What is told ---------------------------------------------------------------------------------------------------

std::vector<Finding> Examine(const Options& options) {
  std::vector<Finding> findings = LookAtServer(options);
  const auto add = [&](std::vector<Finding> more) { findings.insert(findings.end(), more.begin(), more.end()); };
  add({LookAtSegments(options)});
  add(LookAtLanguage(options));
  std::error_code error;
  const fs::path scratch = fs::temp_directory_path(error);
  if (error)
    add({{Verdict::Bad, "traces", "there is no directory for temporary files", "Set TMPDIR to one."}});
  else
    add({LookAtDirectory("traces", scratch.string())});
  add(LookAtEnvironment());
  add({LookAtLeftServers()});
  return findings;
}

std::string InColour(Verdict verdict, const std::string& word) {
  switch (verdict) {
    case Verdict::Good: return Green(word);
    case Verdict::Bad: return Red(word);
    default: return Bold(word);
  }
}

void Print(const Finding& finding) {
  constexpr size_t MARGIN = 23;
  const size_t width = TerminalWidth() < 2 * MARGIN ? 0 : TerminalWidth();
  const std::string verdict = VERDICTS.at(static_cast<size_t>(finding.verdict));
  const std::string padded = verdict + std::string(10 - verdict.size(), ' ');
  const std::string subject = finding.subject + std::string(13 - std::min<size_t>(finding.subject.size(), 12), ' ');
  std::printf("%s%s%s\n", InColour(finding.verdict, padded).c_str(), subject.c_str(),
              Wrap(finding.words, width, MARGIN).c_str());
  if (!finding.remedy.empty())
    std::printf("%s%s\n", std::string(MARGIN, ' ').c_str(), Wrap(finding.remedy, width, MARGIN).c_str());
}

}  // namespace

Status ExamineMachine(const Options& options, bool json) {
  const std::vector<Finding> findings = Examine(options);
  Json all = Json::array();
  for (const Finding& finding : findings) {
    if (!json) Print(finding);
    all.push_back({{"verdict", VERDICTS.at(static_cast<size_t>(finding.verdict))},
                   {"subject", finding.subject},
                   {"finding", finding.words},
                   {"remedy", finding.remedy}});
  }
  if (json) std::puts(all.dump(2).c_str());
  const bool is_bad =
      std::ranges::any_of(findings, [](const Finding& finding) { return finding.verdict == Verdict::Bad; });
  return is_bad ? Status::OtherCode : Status::Ok;
}

}  // namespace vorlix::tool
