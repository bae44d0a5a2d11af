#include "tools/support/ps.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/paint.h"
#include "tools/quoting.h"
#include "tools/support/processes.h"

namespace vorlix::tool {
namespace {

using Json = nlohmann::ordered_json;
using Row = std::array<std::string, 7>;

// As "2026-11-23T22:07:57+0100".
std::string Time(std::time_t time) {
  std::tm local{};
  std::array<char, 64> text{};
  localtime_r(&time, &local);
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S%z", &local)};
}

std::string Size(int64_t bytes) {
  if (bytes < 0) return "?";
  constexpr double KILOBYTE = 1024;
  const bool is_small = bytes < (1 << 20);
  const double size = static_cast<double>(bytes) / (is_small ? KILOBYTE : KILOBYTE * KILOBYTE);
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%.*f %s", is_small || size >= 10 ? 0 : 1, size, is_small ? "KB" : "MB");
  return text.data();
}

std::string Join(const std::vector<pid_t>& pids) {
  std::string text;
  for (const pid_t pid : pids) (text += text.empty() ? "" : ", ") += std::to_string(pid);
  return text;
}

Row RowOf(const RunningServer& server) {
  const std::string since = Time(server.since);
  const std::string host = server.host_name.empty() ? "gone" : Printable(server.host_name);
  return {std::to_string(server.pid), host + " (" + std::to_string(server.host) + ")",
          Printable(server.language), since.substr(0, 10) + " " + since.substr(11, 8),
          Size(server.memory),        std::to_string(server.segment) + " (" + Size(server.segment_size) + ")",
          Join(server.attached)};
}

std::vector<std::string> TableOf(const std::vector<Row>& rows) {
  std::array<size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows)
    for (size_t k = 0; k < row.size(); ++k) widths.at(k) = std::max(widths.at(k), row.at(k).size());
  std::vector<std::string> lines;
  for (const Row& row : rows) {
    std::string& line = lines.emplace_back();
    for (size_t k = 0; k < row.size(); ++k) {
      line += row.at(k);
      if (k + 1 < row.size()) line.append(widths.at(k) - row.at(k).size() + 2, ' ');
    }
  }
  return lines;
}

// A line for each value, behind its heading, for terminals that the table is too wide for.
std::vector<std::string> ListOf(const std::vector<Row>& rows) {
  std::vector<std::string> lines;
  for (size_t at = 1; at < rows.size(); ++at) {
    if (at > 1) lines.emplace_back();
    for (size_t k = 0; k < rows[at].size(); ++k) lines.push_back(rows[0].at(k) + ": " + rows[at].at(k));
  }
  return lines;
}

void Print(const std::vector<Row>& rows) {
  const std::vector<std::string> table = TableOf(rows);
  const size_t widest = std::ranges::max(table, {}, &std::string::size).size();
  const bool fits = TerminalWidth() == 0 || widest <= TerminalWidth() || rows.size() == 1;
  for (const std::string& line : fits ? table : ListOf(rows)) std::puts(line.c_str());
}

Json JsonOf(const RunningServer& server) {
  return {{"server", server.pid},
          {"host", server.host},
          {"host_name", Printable(server.host_name)},
          {"host_lives", !server.host_name.empty()},
          {"language", Printable(server.language)},
          {"since", Time(server.since)},
          {"memory", server.memory < 0 ? Json() : Json(server.memory)},
          {"segment", server.segment},
          {"segment_size", server.segment_size},
          {"attached", server.attached}};
}

}  // namespace

Status ListServers(bool json) {
  const std::vector<RunningServer> servers = FindServers();
  if (json) {
    Json all = Json::array();
    for (const RunningServer& server : servers) all.push_back(JsonOf(server));
    std::puts(all.dump(2).c_str());
    return Status::Ok;
  }
  std::vector<Row> rows = {{"SERVER", "HOST", "LANGUAGE", "SINCE", "MEMORY", "SEGMENT", "ATTACHED BY"}};
  for (const RunningServer& server : servers) rows.push_back(RowOf(server));
  Print(rows);
  return Status::Ok;
}

}  // namespace vorlix::tool
