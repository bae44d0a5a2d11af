// INI files beside other readers and writers: microseconds for a file of 1,000 sections of 8 entries, all of it in the
// page cache. Rewrites are measured twice: on the file system of the working directory, where the flush to the disk can
// take most of the time, and in memory, where it costs nothing.
//
// All contenders of a row find the same; that is checked beforehand. A contender that keeps the whole file in memory
// reads it again each time, as a one-shot call does.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/inipeers.h"
#include "bench/measure.h"
#include "dll/ini/ini.h"

#ifdef HAVE_SIMPLEINI
#define SI_NO_CONVERSION
#include <SimpleIni.h>
#endif

namespace {

using namespace vorlix;
using bench::Contender;
using bench::Expect;

constexpr int SECTIONS = 1000;
constexpr int ENTRIES = 8;
constexpr const char* LAST_SECTION = "field.number999";
constexpr const char* LAST_ENTRY = "entry7";

// Short turns, many of them: a disturbance falls on one turn and not on a median.
constexpr int ROUNDS = 3;
constexpr int RUNS = 101;

constexpr double LOOKUP_GOAL = 0.10;
constexpr double WALK_GOAL = 0.25;
constexpr double REWRITE_GOAL = 0.33;

constexpr const char* MEMORY = "/dev/shm/";

std::string path;

void MakeFile() {
  std::ofstream file(path);
  for (int section = 0; section < SECTIONS; ++section) {
    file << "[field.number" << section << "]\n";
    for (int entry = 0; entry < ENTRIES; ++entry) file << "entry" << entry << "=value " << section + entry << '\n';
    file << '\n';
  }
}

// A directory of the measurement's own, with the file that it is about.
class Directory {
 public:
  explicit Directory(const std::string& parent) : name_(parent + "bench-ini-XXXXXX") {
    if (mkdtemp(name_.data()) == nullptr) std::perror(name_.c_str());
    path = name_ + "/a.ini";
    MakeFile();
  }
  ~Directory() { std::filesystem::remove_all(name_); }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

 private:
  std::string name_;
};

void PrintRows(const char* what, const std::vector<Contender>& contenders) {
  bench::Compare(what, contenders, 1, ROUNDS, RUNS);
}

// ---- One entry, the last ---------------------------------------------------------------------------------------------

std::string Lookup() {
  std::array<char, INI_TEXT_SIZE> value;
  IniGetString(LAST_SECTION, LAST_ENTRY, "", value.data(), INI_TEXT_SIZE, path.c_str());
  return value.data();
}

#ifdef HAVE_INIH
std::string LookupInih() {
  std::string value;
  const auto handle = [](void* found, const char* section, const char* name, const char* text) {
    if (std::strcmp(section, LAST_SECTION) == 0 && std::strcmp(name, LAST_ENTRY) == 0)
      *static_cast<std::string*>(found) = text;
    return 1;
  };
  ini_parse(path.c_str(), handle, &value);
  return value;
}
#endif

#ifdef HAVE_GLIB
std::string LookupGlib() {
  const bench::GlibKeys keys = bench::ReadGlib(path.c_str());
  char* text = g_key_file_get_string(keys.get(), LAST_SECTION, LAST_ENTRY, nullptr);
  const std::string value = text != nullptr ? text : "";
  g_free(text);
  return value;
}
#endif

#ifdef HAVE_SIMPLEINI
std::string LookupSimpleIni() {
  CSimpleIniA file;
  file.LoadFile(path.c_str());
  return file.GetValue(LAST_SECTION, LAST_ENTRY, "");
}
#endif

void MeasureLookup() {
  std::vector<Contender> contenders;
  const auto add = [&](const char* name, std::string (*look_up)(), double goal = 0) {
    Expect(look_up() == "value 1006", name);
    contenders.push_back({name, [look_up] { Expect(!look_up().empty(), "not found"); }, goal});
  };
  add("IniGetString", Lookup);
#ifdef HAVE_INIH
  add("inih", LookupInih, LOOKUP_GOAL);
#endif
#ifdef HAVE_GLIB
  add("GKeyFile", LookupGlib);
#endif
#ifdef HAVE_SIMPLEINI
  add("SimpleIni", LookupSimpleIni);
#endif
  PrintRows("INI, the last entry", contenders);
}

// ---- All entries -----------------------------------------------------------------------------------------------------

struct Sum {
  int entries = 0;
  size_t bytes = 0;

  void Add(const char* name, const char* value) {
    ++entries;
    bytes += std::strlen(name) + std::strlen(value);
  }
  bool operator==(const Sum&) const = default;
};

Sum Walk() {
  Sum sum;
  std::array<char, 81> name;
  std::array<char, 123> value;
  const int hdl = IniOpen(path.c_str(), "");
  while (IniNextSection(hdl, name.data(), static_cast<int>(name.size())) == INI_INSIDE)
    while (IniNextEntry(hdl, name.data(), static_cast<int>(name.size()), value.data(),
                        static_cast<int>(value.size())) == INI_INSIDE)
      sum.Add(name.data(), value.data());
  IniClose(hdl);
  return sum;
}

#ifdef HAVE_INIH
Sum WalkInih() {
  Sum sum;
  const auto handle = [](void* of, const char*, const char* name, const char* value) {
    static_cast<Sum*>(of)->Add(name, value);
    return 1;
  };
  ini_parse(path.c_str(), handle, &sum);
  return sum;
}
#endif

#ifdef HAVE_SIMPLEINI
Sum WalkSimpleIni() {
  Sum sum;
  CSimpleIniA file;
  file.LoadFile(path.c_str());
  CSimpleIniA::TNamesDepend sections;
  file.GetAllSections(sections);
  for (const auto& section : sections)
    for (const auto& [name, value] : *file.GetSection(section.pItem)) sum.Add(name.pItem, value);
  return sum;
}
#endif

void MeasureWalk() {
  const Sum expected = Walk();
  Expect(expected.entries == SECTIONS * ENTRIES, "the walk misses entries");
  std::vector<Contender> contenders;
  const auto add = [&](const char* name, Sum (*walk)(), double goal = 0) {
    Expect(walk() == expected, name);
    contenders.push_back({name, [walk, expected] { Expect(walk() == expected, "entries are missing"); }, goal});
  };
  add("IniNextEntry", Walk);
#ifdef HAVE_INIH
  add("inih", WalkInih, WALK_GOAL);
#endif
#ifdef HAVE_SIMPLEINI
  add("SimpleIni", WalkSimpleIni);
#endif
  PrintRows("INI, all entries", contenders);
}

// ---- A rewrite -------------------------------------------------------------------------------------------------------

// The work that no writer gets around: the bytes into a new file, to the disk or not, and the name changed over.
void WriteBare(const std::string& bytes, bool flush) {
  const std::string temporary = path + ".new";
  const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  Expect(write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "a write fails");
  if (flush) Expect(fsync(fd) == 0, "a flush fails");
  close(fd);
  Expect(std::rename(temporary.c_str(), path.c_str()) == 0, "a rename fails");
}

std::string NextValue() {
  static int number = 0;
  return std::to_string(++number);
}

#ifdef HAVE_GLIB
void RewriteGlib() {
  const bench::GlibKeys keys = bench::ReadGlib(path.c_str(), G_KEY_FILE_KEEP_COMMENTS);
  g_key_file_set_string(keys.get(), LAST_SECTION, LAST_ENTRY, NextValue().c_str());
  Expect(g_key_file_save_to_file(keys.get(), path.c_str(), nullptr) != 0, "GKeyFile does not save");
}
#endif

#ifdef HAVE_SIMPLEINI
void RewriteSimpleIni() {
  CSimpleIniA file;
  file.LoadFile(path.c_str());
  file.SetValue(LAST_SECTION, LAST_ENTRY, NextValue().c_str());
  Expect(file.SaveFile(path.c_str()) == SI_OK, "SimpleIni does not save");
}
#endif

void MeasureRewrite(const char* what) {
  std::ifstream file(path);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<Contender> contenders = {{"IniSetString", [] {
                                          const bool done =
                                              IniSetString(LAST_SECTION, LAST_ENTRY, NextValue(), path.c_str());
                                          Expect(done, "IniSetString fails");
                                        }}};
#ifdef HAVE_GLIB
  contenders.push_back({"GKeyFile (flushes)", RewriteGlib, REWRITE_GOAL});
#endif
#ifdef HAVE_SIMPLEINI
  contenders.push_back({"SimpleIni (no flush)", RewriteSimpleIni});
#endif
  contenders.push_back({"the bytes, flushed", [&] { WriteBare(bytes, true); }});
  contenders.push_back({"the bytes, not flushed", [&] { WriteBare(bytes, false); }});
  PrintRows(what, contenders);
}

}  // namespace

int main() {
  bench::PinToOneCore();
  {
    const Directory directory("");
    MeasureLookup();
    MeasureWalk();
    MeasureRewrite("INI, an entry changed");
  }
  if (std::filesystem::exists(MEMORY)) {
    const Directory directory(MEMORY);
    MeasureRewrite("INI, an entry changed, in memory");
  }
  bench::PrintMissingPeers();
#ifndef HAVE_SIMPLEINI
  std::puts("SimpleIni is not there: its rows are left out");
#endif
  return 0;
}
