// Model definition files: INI files that describe the program modules of the host's application, one a section. A
// section is read into a record of the items that are known.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>

#include "dll/base/syscall.h"
#include "dll/base/text.h"

namespace vorlix {

/// What a section may hold. Items of the type NOT_COLLECTED are known and never collected.
struct ModuleItem {
  const char* item;  // in the file, in whatever case
  char type;         // in the XBUF, or NOT_COLLECTED
  size_t limit;      // characters, of all lines together
  const char* name;  // in the XBUF and in filters
};

inline constexpr char NOT_COLLECTED = '-';

inline constexpr ModuleItem MODULE_ITEMS[] = {
    {"TITEL", 'X', 60, "title"},
    {"DESCRIPTION", 'X', 60, "title"},
    {"MODUL", 'X', 60, "mod"},
    {"ENTRY", 'N', 1, "entry"},
    {"GRUPPE", 'X', 18, "grp"},
    {"FUNKTIONEN", 'X', 80, "caps"},
    {"FUNCTIONS", 'X', 80, "caps"},
    {"BIB", 'X', 256, "bib"},
    {"SUBS", 'X', 256, "sub"},
    {"REV", 'X', 18, "rev"},
    {"DIALOG", 'X', 80, "dlg"},
    {"DSETS", NOT_COLLECTED, 256, "dsets"},
    {"TEXT", NOT_COLLECTED, 1024, "text"},
};
inline constexpr size_t MODULE_ITEM_COUNT = std::size(MODULE_ITEMS);

/// Room for an item and a value of a file, with their NUL; what is longer is cut.
inline constexpr size_t MODULE_NAME_SIZE = 80;
inline constexpr size_t MODULE_VALUE_SIZE = 256;

struct Module {
  OwnedText name;                                                    // of its section
  std::array<std::optional<std::string>, MODULE_ITEM_COUNT> values;  // the lines of an item, with commas between
};

/// Looks on while a section is read.
class ModuleObserver {
 public:
  virtual ~ModuleObserver() = default;
  /// The next entry of the section was read; what is wrong with it follows.
  virtual void OnEntry() = 0;
  /// There is no such item, which is in upper case.
  virtual void OnIgnored(const char* item, const char* value) = 0;
  /// What was collected of an item is too long with this entry: the section is refused, and read to its end.
  virtual void OnTooLong(const ModuleItem& row, size_t length) = 0;
  /// There is no memory of this size. Nothing more is read.
  virtual void OnNoMemory(int error, size_t size) = 0;
};

/// Reads the section that the module is named after; a file without it has no values. FILE_FAILED when an item is too
/// long, else FILE_OK or minus the error number.
FileCode ReadModule(Module& module, const char* fname, ModuleObserver& observer);

}  // namespace vorlix
