// The servers that run on this machine, as the system shows them.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace vorlix::tool {

struct RunningServer {
  pid_t pid = 0;
  pid_t host = 0;         // as the block names it; the parent when the block cannot be read
  std::string host_name;  // empty: it lives no more
  std::string language;   // the variable's value that decides about texts
  std::time_t since = 0;
  int64_t memory = 0;  // bytes, its share of what it shares; -1 when that is not to be seen
  int segment = -1;
  int64_t segment_size = 0;     // bytes
  std::vector<pid_t> attached;  // who has the segment, as far as that is to be seen
};

/// The servers of this user, or of all for root, by process id.
std::vector<RunningServer> FindServers();

/// The name of a process as the system shows it; empty when there is none, or it has ended and was not waited for.
std::string NameOfProcess(pid_t pid);

}  // namespace vorlix::tool
