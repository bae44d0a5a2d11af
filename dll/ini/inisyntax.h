// What a line of an INI file says; see ini.h for the rules. All views borrow from the line. Everything is inline: the
// lines of large dictionaries pass through here one by one.
#pragma once

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace vorlix {

/// Visible ASCII is white space in no locale: most characters need no question to the C library.
inline bool IsIniSpace(char c) { return (c <= ' ' || c > '~') && std::isspace(static_cast<unsigned char>(c)) != 0; }

inline std::string_view TrimStart(std::string_view text) {
  while (!text.empty() && IsIniSpace(text.front())) text.remove_prefix(1);
  return text;
}

inline std::string_view TrimEnd(std::string_view text) {
  while (!text.empty() && IsIniSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// Whether the (non-empty) line ends a section.
inline bool EndsSection(std::string_view line) { return line.front() == '['; }

/// The name that a header line gives. False for a line that names no section.
inline bool ParseHeader(std::string_view line, std::string_view& name) {
  const size_t bracket = EndsSection(line) ? line.find(']') : std::string_view::npos;
  if (bracket == std::string_view::npos) return false;
  name = TrimStart(TrimEnd(line.substr(1, bracket - 1)));
  return true;
}

struct IniEntry {
  std::string_view name;
  std::string_view rest;  // behind the '=', as it stands in the line
};

/// Splits an entry. False for comments and lines without '='; headers are not told apart.
inline bool ParseEntry(std::string_view line, IniEntry& entry) {
  if (line.front() == ';' || line.front() == '#') return false;
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return false;
  entry = {TrimStart(TrimEnd(line.substr(0, equals))), line.substr(equals + 1)};
  return true;
}

/// The bytes that end a value, within quotes too.
inline constexpr auto INI_ENDS_VALUE = [] {
  std::array<bool, 256> ends{};
  for (const char c : {'\r', '\n', ';', '#'}) ends[static_cast<unsigned char>(c)] = true;
  return ends;
}();

/// The value in what stands behind the '='.
inline std::string_view ParseValue(std::string_view rest) {
  rest = TrimStart(rest);
  const bool quoted = !rest.empty() && (rest.front() == '"' || rest.front() == '\'');
  const char quote = quoted ? rest.front() : '\n';  // which ends values anyway
  if (quoted) rest.remove_prefix(1);
  const auto ends = [quote](char c) { return INI_ENDS_VALUE[static_cast<unsigned char>(c)] || c == quote; };
  rest = rest.substr(0, static_cast<size_t>(std::find_if(rest.begin(), rest.end(), ends) - rest.begin()));
  return quoted ? rest : TrimEnd(rest);
}

}  // namespace vorlix
