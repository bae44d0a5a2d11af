#include "tools/support/processes.h"

#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

#include "host/block.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view SERVER_NAME = "vorlix.dll";

// What a file of /proc holds; empty when it cannot be read.
std::string ReadSystemFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return std::move(text).str();
}

std::string FileOf(pid_t pid, const char* name) { return ReadSystemFile("/proc/" + std::to_string(pid) + '/' + name); }

// Texts that each end in NUL.
std::vector<std::string> SplitAtNul(const std::string& text) {
  std::vector<std::string> parts;
  for (size_t at = 0; at < text.size(); at += parts.back().size() + 1) parts.emplace_back(text.c_str() + at);
  return parts;
}

std::vector<pid_t> AllProcesses() {
  std::vector<pid_t> processes;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator("/proc", ignored))
    if (const auto pid = ReadWhole<pid_t>(entry.path().filename().string())) processes.push_back(*pid);
  std::ranges::sort(processes);
  return processes;
}

// The fields of a process's "stat" behind its name, which may hold anything: the state, the parent, and so on.
std::vector<std::string> StatOf(pid_t pid) {
  const std::string text = FileOf(pid, "stat");
  const size_t end = text.rfind(')');
  std::istringstream rest(end == std::string::npos ? "" : text.substr(end + 1));
  std::vector<std::string> fields;
  for (std::string field; rest >> field;) fields.push_back(field);
  return fields;
}

constexpr size_t STATE = 0;
constexpr size_t PARENT = 1;
constexpr size_t START = 19;  // in ticks since the start of the machine

template <class Number>
Number FieldOf(const std::vector<std::string>& fields, size_t field) {
  return field < fields.size() ? ReadWhole<Number>(fields[field]).value_or(0) : 0;
}

std::time_t StartOfMachine() {
  std::istringstream lines(ReadSystemFile("/proc/stat"));
  std::string word;
  std::time_t start = 0;
  while (lines >> word)
    if (word == "btime") lines >> start;
  return start;
}

// The line "Pss: 123 kB", in bytes.
int64_t MemoryOf(pid_t pid) {
  std::istringstream words(FileOf(pid, "smaps_rollup"));
  std::string word;
  int64_t kilobytes = 0;
  while (words >> word)
    if (word == "Pss:" && words >> kilobytes) return kilobytes * 1024;
  return -1;
}

// As the server chooses it.
std::string LanguageOf(pid_t pid) {
  const std::vector<std::string> variables = SplitAtNul(FileOf(pid, "environ"));
  for (const std::string name : {"ZENDLANG=", "LC_CTYPE=", "LANG="})
    for (const std::string& variable : variables)
      if (variable.starts_with(name) && variable.size() > name.size()) return variable.substr(name.size());
  return "C";
}

// The host that the block names; none when this user may not look into it.
std::optional<pid_t> HostInBlock(int segment) {
  void* const block = shmat(segment, nullptr, SHM_RDONLY);
  if (block == reinterpret_cast<void*>(-1)) return {};
  shmid_ds status{};
  BlockHeader header{};
  const bool is_block = shmctl(segment, IPC_STAT, &status) == 0 && status.shm_segsz >= sizeof header;
  if (is_block) std::memcpy(&header, block, sizeof header);
  shmdt(block);
  return is_block && header.magic == DLL_MAGIC && header.host_pid > 0 ? std::optional<pid_t>(header.host_pid)
                                                                      : std::nullopt;
}

// By segment, who has it attached: the maps of a process name segments as deleted files whose inode is the segment.
std::map<int, std::vector<pid_t>> Attachments(const std::vector<pid_t>& processes) {
  std::map<int, std::vector<pid_t>> attached;
  for (const pid_t pid : processes) {
    std::istringstream lines(FileOf(pid, "maps"));
    for (std::string line; std::getline(lines, line);) {
      if (line.find("/SYSV") == std::string::npos) continue;
      std::istringstream words(line);
      std::string skipped;
      int inode = -1;
      words >> skipped >> skipped >> skipped >> skipped >> inode;
      std::vector<pid_t>& of_segment = attached[inode];
      if (std::ranges::find(of_segment, pid) == of_segment.end()) of_segment.push_back(pid);
    }
  }
  return attached;
}

RunningServer ServerAt(pid_t pid, int segment) {
  const std::vector<std::string> fields = StatOf(pid);
  RunningServer server;
  server.pid = pid;
  server.segment = segment;
  server.host = HostInBlock(segment).value_or(FieldOf<pid_t>(fields, PARENT));
  server.host_name = NameOfProcess(server.host);
  server.language = LanguageOf(pid);
  server.since = StartOfMachine() + FieldOf<int64_t>(fields, START) / sysconf(_SC_CLK_TCK);
  server.memory = MemoryOf(pid);
  shmid_ds status{};
  if (shmctl(segment, IPC_STAT, &status) == 0) server.segment_size = static_cast<int64_t>(status.shm_segsz);
  return server;
}

bool IsOfThisUser(pid_t pid) {
  struct stat status {};
  return geteuid() == 0 || (stat(("/proc/" + std::to_string(pid)).c_str(), &status) == 0 && status.st_uid == geteuid());
}

}  // namespace

std::string NameOfProcess(pid_t pid) {
  const std::vector<std::string> fields = StatOf(pid);
  if (fields.empty() || fields[STATE] == "Z" || fields[STATE] == "X") return "";
  const std::string name = FileOf(pid, "comm");
  return name.substr(0, name.find('\n'));
}

std::vector<RunningServer> FindServers() {
  const std::vector<pid_t> processes = AllProcesses();
  std::vector<RunningServer> servers;
  for (const pid_t pid : processes) {
    if (NameOfProcess(pid) != SERVER_NAME || !IsOfThisUser(pid)) continue;
    const std::vector<std::string> words = SplitAtNul(FileOf(pid, "cmdline"));
    if (words.size() == 2) servers.push_back(ServerAt(pid, ReadWhole<int>(words[1]).value_or(-1)));
  }
  if (servers.empty()) return servers;
  const std::map<int, std::vector<pid_t>> attached = Attachments(processes);
  for (RunningServer& server : servers)
    if (const auto found = attached.find(server.segment); found != attached.end()) server.attached = found->second;
  return servers;
}

}  // namespace vorlix::tool
