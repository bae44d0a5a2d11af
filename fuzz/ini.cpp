// A line that says what to do, and an INI file to do it with: walked in every way, and rewritten. A file that has been
// rewritten reads back what was set, and keeps all other entries and all but a line of its bytes.
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "dll/ini/ini.h"
#include "fuzz/input.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::fuzz {
namespace {

using Text = std::array<char, INI_TEXT_SIZE>;

struct Entry {
  std::string section;
  std::string name;
  std::string value;

  bool operator==(const Entry&) const = default;
};

std::vector<Entry> ReadEntries(const std::string& path) {
  std::vector<Entry> entries;
  Text section{};
  Text name;
  Text value;
  const int hdl = IniOpen(path.c_str(), "");
  do
    while (IniNextEntry(hdl, name.data(), INI_TEXT_SIZE, value.data(), INI_TEXT_SIZE) == INI_INSIDE)
      entries.push_back({section.data(), name.data(), value.data()});
  while (IniNextSection(hdl, section.data(), INI_TEXT_SIZE) == INI_INSIDE);
  IniClose(hdl);
  return entries;
}

void Walk(int hdl, char step, uint8_t size) {
  const std::unique_ptr<char[]> first(new char[size]);  // guarded to the last byte
  const std::unique_ptr<char[]> second(new char[size]);
  switch (step) {
    case 'l': static_cast<void>(IniNextLine(hdl, first.get(), size)); break;
    case 's': static_cast<void>(IniNextSection(hdl, first.get(), size)); break;
    case 'e': static_cast<void>(IniNextEntry(hdl, first.get(), size, second.get(), size)); break;
    case 'f': {
      const bool inside = IniNextSection(hdl, first.get(), size) == INI_INSIDE;
      static_cast<void>(IniFindSection(hdl, inside ? first.get() : ""));
      break;
    }
    default: break;
  }
}

// The entries are those from before, but for `set`, which has come in or taken the place of one of its name.
void CheckEntries(const std::vector<Entry>& before, const std::vector<Entry>& after, const Entry& set) {
  auto [old, now] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  if (now == after.end()) return Require(old == before.end(), "no entry is lost");
  Require(*now++ == set, "the entry is the one that was set");
  if (old != before.end() && old->section == set.section && old->name == set.name &&
      before.end() - old == after.end() - now + 1)
    ++old;
  Require(std::equal(old, before.end(), now, after.end()), "all other entries are kept");
}

// What comes before and behind the change stays byte for byte.
void CheckBytes(std::string_view before, std::string_view after, const Entry& set) {
  constexpr size_t LINE_SIZE = 1023;
  const size_t entry_size = set.section.size() + set.name.size() + set.value.size() + std::size("\n[]\n=\n");
  const auto front = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const std::string_view old(front.first, before.end());
  const std::string_view now(front.second, after.end());
  const auto back = size_t(std::mismatch(old.rbegin(), old.rend(), now.rbegin(), now.rend()).first - old.rbegin());
  Require(old.size() - back <= LINE_SIZE && now.size() - back <= entry_size, "only a line goes and an entry comes");
}

void Rewrite(const std::string& path, uint8_t choice, bool new_name) {
  const std::vector<Entry> before = ReadEntries(path);
  const std::string bytes = tool::ReadFile(path);
  Entry set = choice < before.size() ? before[choice] : Entry{"NEW", "KEY", ""};
  if (new_name) set.name = "OTHER";
  set.value = choice % 2 == 0 ? "7" : "a b";
  // What such a name would make is no entry, and a text that goes on behind a NUL is not what is read of it.
  const bool is_plain = !set.name.starts_with('[') && !set.name.starts_with(';') && !set.name.starts_with('#');
  if (!is_plain || set.name.size() > 1000 || bytes.find('\0') != std::string::npos) return;
  Require(IniSetString(set.section, set.name, set.value, path.c_str()), "the file can be rewritten");
  Text value;
  IniGetString(set.section, set.name, "?", value.data(), INI_TEXT_SIZE, path.c_str());
  Require(value.data() == set.value, "what was set is read");
  CheckEntries(before, ReadEntries(path), set);
  CheckBytes(bytes, tool::ReadFile(path), set);
}

}  // namespace

void Run(Input input) {
  static tool::ScratchDirectory directory;
  static const std::string path = directory.Path() + "/a.ini";
  const std::string line = input.Until("\n");
  Input steps(reinterpret_cast<const uint8_t*>(line.data()), std::min<size_t>(line.size(), 16));
  tool::WriteFile(path, input.Rest());
  const int hdl = IniOpen(path.c_str(), "");
  while (!steps.Empty()) {
    const auto step = steps.Take<char>();
    const uint8_t value = steps.Byte();
    if (step == 'w' || step == 'n')
      Rewrite(path, value, step == 'n');
    else
      Walk(hdl, step, value);
  }
  IniCloseAll();
}

}  // namespace vorlix::fuzz
