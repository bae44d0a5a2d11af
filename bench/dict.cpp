// Dictionaries: what opening one costs beside readers that build no dictionary, how that grows, and whether finding
// something takes longer the larger a dictionary is. Files are in the page cache; sections have 8 lines, as those of
// fields have.
//
// Growth that is linear has a ratio near 1: above it is what an index costs that has outgrown the processor's caches,
// never more than a few loads for a name. Lookups are for as many names as the dialogs on a screen have, spread through
// the dictionary and again and again: what is compared is the search, not how much memory the processor has at hand.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench/inipeers.h"
#include "bench/measure.h"
#include "dll/server/functions.h"
#include "dll/server/srvlocal.h"
#include "dll/shared/dictkrnl.h"
#include "dll/shared/dlglevel.h"

namespace {

using namespace vorlix;
using bench::Contender;
using bench::Expect;
using bench::PrintRow;

constexpr int SMALL = 1'000;
constexpr int MEDIUM = 10'000;
constexpr int LARGE = 100'000;
constexpr int DIALOGS = 100;
constexpr int NAMES = 100;

constexpr int OPEN_RUNS = 21;
constexpr int LOOKUP_RUNS = 301;
constexpr int CHECK_RUNS = 31;

constexpr double OPEN_GOAL = 3;
constexpr double LOOKUP_GOAL = 1.5;

// ---- The files ------------------------------------------------------------------------------------------------------

std::string Number(const char* before, int number) { return before + std::to_string(number); }
std::string Handle(int field) { return Number("dlg", field % DIALOGS); }
std::string Field(int number) { return Number("field", number); }

void WriteSections(std::ofstream& file, int count) {
  file << "[catalog]\n";
  for (int i = 0; i < DIALOGS; ++i) file << Handle(i) << "=DIALOG" << i << '\n';
  for (int i = 0; i < count; ++i)
    file << '[' << Handle(i) << '.' << Field(i) << "]\nPATH=customer.address.line" << i
         << "\nOBJTYPE=ET\nFTYP=N\nFVTYP=I\nFFMT=lRbzTPg\nFLEN=12\nFMIN=0\nFMAX=" << i << "\n\n";
}

void WriteCatalog(std::ofstream& file, int count) {
  file << "[catalog]\n";
  for (int i = 0; i < count; ++i) file << "handle" << i << "=DIALOG" << i << '\n';
}

void WriteItems(std::ofstream& file, int count) {
  file << "[catalog]\nd=LIST\n[list]\n";
  for (int i = 0; i < count; ++i) file << "item" << i << "=value " << i << '\n';
}

void WriteOneItem(std::ofstream& file, int count) {
  file << "[list]\n";
  for (int i = 0; i < count; ++i) file << "item=value " << i << '\n';
}

// A file that is there until the end of the scope.
class DictFile {
 public:
  DictFile(void (*write)(std::ofstream&, int), int count) {
    std::ofstream file(Path());
    write(file, count);
  }
  ~DictFile() { std::filesystem::remove(Path()); }
  DictFile(const DictFile&) = delete;
  DictFile& operator=(const DictFile&) = delete;

  const char* Path() const { return "bench-dict.tmp"; }

  void Open(const char* id, int32_t level) const {
    int32_t rc = 99;
    Expect(dict_Open(id, Path(), level, IntByReference(&rc)) == 0 && rc == 0, "a dictionary does not open");
  }
};

// ---- Opening --------------------------------------------------------------------------------------------------------

// What was opened is released outside of the time.
Contender Opening(const DictFile& file) {
  return {"dict_Open", [&file] { file.Open("BENCH", 1); }, 0, [] { dict_CloseAll(); }};
}

#ifdef HAVE_INIH
void ReadInih(const DictFile& file) {
  int lines = 0;
  const auto count = [](void* of, const char*, const char*, const char*) { return ++*static_cast<int*>(of); };
  Expect(ini_parse(file.Path(), count, &lines) == 0 && lines > 0, "inih reads nothing");
}
#endif

void MeasureOpening() {
  const DictFile file(WriteSections, LARGE);
  std::vector<Contender> contenders = {Opening(file)};
#ifdef HAVE_INIH
  contenders.push_back({"inih, reading alone", [&] { ReadInih(file); }, OPEN_GOAL});
#endif
#ifdef HAVE_GLIB
  bench::GlibKeys keys;
  contenders.push_back({"GKeyFile", [&] { keys = bench::ReadGlib(file.Path()); }, 0, [&] { keys = nullptr; }});
#endif
  bench::Compare(Number("dict_Open, sections: ", LARGE), contenders, 1, 1, OPEN_RUNS);
  dict_CloseAll();
}

void MeasureGrowth() {
  const struct {
    const char* what;
    void (*write)(std::ofstream&, int);
  } ROWS[] = {{"sections", WriteSections},
              {"catalog lines", WriteCatalog},
              {"list items", WriteItems},
              {"lines of one item", WriteOneItem}};
  const auto time_one = [](void (*write)(std::ofstream&, int), int count) {
    const DictFile file(write, count);
    return bench::MeasureInterleaved({Opening(file)}, 1, OPEN_RUNS)[0] / count;
  };
  for (const auto& row : ROWS)
    PrintRow(Number("dict_Open, one of ", LARGE) + " " + row.what, time_one(row.write, LARGE),
             Number("one of ", MEDIUM), time_one(row.write, MEDIUM));
  dict_CloseAll();
}

// ---- Finding --------------------------------------------------------------------------------------------------------

volatile int32_t kept;  // what is found is used

// A name for each lookup of a round, made from numbers spread through what has `size` of them.
std::vector<std::string> Spread(int size, const std::function<std::string(int)>& make_name) {
  std::vector<std::string> names;
  for (int i = 0; i < NAMES; ++i)
    names.push_back(make_name(static_cast<int>(int64_t{i} * 7919 * (size / NAMES) % size)));
  return names;
}

Contender Lookups(const std::vector<std::string>& names, int32_t (*look_up)(int32_t level, const std::string& name),
                  int32_t level) {
  return {"", [=] {
            for (const std::string& name : names) kept = look_up(level, name);
          }};
}

int32_t FindOne(int32_t level, const std::string& name) {
  const SectionPtr section = FindSection(*GetDlgDict(level, level == 1 ? 1 : 0), name);
  Expect(section != nullptr, "a section is not found");
  return static_cast<int32_t>(section->position);
}

// A String with room for what is found.
DllString Room() {
  static std::array<char, 2000> room;
  return {static_cast<int32_t>(room.size()), 0, room.data()};
}

int32_t GetOne(int32_t level, const std::string& name) {
  const size_t slash = name.find('/');
  const std::string dialog = Number("D0", level) + name.substr(0, slash);
  DllString xbuf = Room();
  Expect(dict_Get(dialog.c_str(), name.c_str() + slash + 1, xbuf) == 0 && xbuf.len > 0, "a field is not found");
  return xbuf.len;
}

int32_t ListOne(int32_t level, const std::string& name) {
  DllString value = Room();
  Expect(dict_List(level == 1 ? "D01LIST" : "D02LIST", name.c_str(), value) == 0 && value.len > 0,
         "an item is missing");
  return value.len;
}

void MeasureLookup(const std::string& what, int32_t (*look_up)(int32_t, const std::string&),
                   const std::function<std::string(int)>& make_name) {
  const std::vector<double> medians = bench::MeasureInterleaved(
      {Lookups(Spread(SMALL, make_name), look_up, 1), Lookups(Spread(LARGE, make_name), look_up, 2)}, 10, LOOKUP_RUNS);
  PrintRow(what + Number(" among ", LARGE), medians[1] / NAMES, Number("among ", SMALL), medians[0] / NAMES,
           LOOKUP_GOAL);
}

// Opens a small dictionary at level 1 and a large one at level 2.
void OpenBoth(void (*write)(std::ofstream&, int)) {
  dict_CloseAll();
  DictFile(write, SMALL).Open("SMALL", 1);
  DictFile(write, LARGE).Open("LARGE", 2);
}

void MeasureChecks() {
  std::vector<Contender> contenders;
  for (const char* const id : {"SMALL", "LARGE"})
    contenders.push_back({id, [dict = FindDict(id, DICT_ORIGINAL)] {
                            Expect(AddDlgLevel(dict, 3) == 0, "a level is refused");
                            FreeDlgLevel(3);
                          }});
  const std::vector<double> medians = bench::MeasureInterleaved(contenders, 1, CHECK_RUNS);
  PrintRow(Number("a dialog level, sections: ", LARGE), medians[1], Number("sections: ", SMALL), medians[0],
           LOOKUP_GOAL);
}

#ifdef HAVE_GLIB
void MeasureGlib() {
  const DictFile file(WriteSections, LARGE);
  const bench::GlibKeys keys = bench::ReadGlib(file.Path());
  const std::vector<std::string> names = Spread(LARGE, [](int i) { return Handle(i) + "." + Field(i); });
  const auto look_up = [&] {
    for (const std::string& name : names) kept = g_key_file_has_group(keys.get(), name.c_str());
  };
  bench::Compare(Number("FindSection among ", LARGE), {Lookups(names, FindOne, 2), {"GKeyFile, has group", look_up}},
                 NAMES, 10, LOOKUP_RUNS);
}
#endif

void MeasureFinding() {
  OpenBoth(WriteSections);
  MeasureLookup("FindSection", FindOne, [](int i) { return Handle(i) + "." + Field(i); });
#ifdef HAVE_GLIB
  MeasureGlib();
#endif
  MeasureLookup("dict_Get", GetOne, [](int i) { return Number("DIALOG", i % DIALOGS) + "/" + Field(i); });
  MeasureChecks();
  OpenBoth(WriteItems);
  MeasureLookup("dict_List", ListOne, [](int i) { return Number("item", i); });
  dict_CloseAll();
}

}  // namespace

int main() {
  bench::PinToOneCore();
  Expect(BuildLocale() == 0, "no locale");
  MeasureOpening();
  MeasureGrowth();
  MeasureFinding();
  bench::PrintMissingPeers();
  return 0;
}
