// mdf_Get: reads one section of a model definition file, an INI file that describes the program modules of the host's
// application, one a section.
//
// A table has a row for each item that a section may hold. What was read last is kept, by the name of the section
// alone, so that the host can ask for parts of it in several calls. Whatever fails drops it. The call reports what it
// passes over to standard error, like the call trace and with its switch (dll_Debug).
#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "dll/base/syscall.h"
#include "dll/base/text.h"
#include "dll/ini/ini.h"
#include "dll/server/functions.h"
#include "dll/shared/xpack.h"
#include "hostif/dllif.h"

namespace vorlix {
namespace {

constexpr char PREFIX[] = "Mdf_";

// Rows of this type are known and never collected.
constexpr char NOT_COLLECTED = '-';

struct MdfItem {
  std::string_view item;  // in the file
  char type;              // in the XBUF, or NOT_COLLECTED
  size_t limit;           // characters
  std::string_view name;  // in the XBUF and in filters
};

constexpr MdfItem ITEMS[] = {
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
constexpr size_t ITEM_COUNT = std::size(ITEMS);

// Some of the rows.
using Selection = std::bitset<ITEM_COUNT>;

// The section that was read last.
struct Module {
  OwnedText section;  // its name; null when there is none
  std::array<std::optional<std::string>, ITEM_COUNT> values;
};
Module module_read;

// ---- The filter -----------------------------------------------------------------------------------------------------

Selection RowsNamed(std::string_view name) {
  Selection rows;
  for (size_t i = 0; i < ITEM_COUNT; ++i) rows[i] = EqualNoCase(ITEMS[i].name, name);
  return rows;
}

// The rows that a list of names selects; all of them when it is empty or "*". A name that is nothing but the prefix
// ends the list.
Selection SelectRows(std::string_view filter) {
  if (filter.empty() || filter == "*") return Selection().set();
  Selection selected;
  while (!filter.empty()) {
    std::string_view name = filter.substr(0, filter.find(','));
    filter.remove_prefix(std::min(name.size() + 1, filter.size()));
    if (StartsWithNoCase(name, PREFIX)) {
      name.remove_prefix(std::size(PREFIX) - 1);
      if (name.empty()) break;
    }
    const Selection rows = RowsNamed(name);
    if (rows.none()) CallTrace(1, "mdf_Get: do_filter: ignored: %.*s\n", static_cast<int>(name.size()), name.data());
    selected |= rows;
  }
  return selected;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

// Adds a line's value to what was collected before.
FileCode Collect(std::optional<std::string>& collected, std::string_view value) {
  const size_t size = collected ? collected->size() + 1 + value.size() : value.size();
  errno = 0;
  try {
    if (collected)
      collected->push_back(',');
    else
      collected.emplace();
    collected->append(value);
    return FILE_OK;
  } catch (const std::bad_alloc&) {
    const FileCode rc = MinusErrno();
    CallTrace(1, "mdf_Get: do_read: errno = %d, sz = %zu\n", errno, size + 1);
    return rc;
  }
}

// Takes one line. False ends the reading; `rc` becomes what is wrong, if anything is.
bool TakeLine(Module& module, const char* item, const char* value, FileCode& rc) {
  const auto* const row = std::ranges::find(ITEMS, std::string_view(item), &MdfItem::item);
  if (row == std::end(ITEMS)) {
    CallTrace(1, "mdf_Get: do_read: ignored: %s (%s)\n", item, value);
    return true;
  }
  if (row->type == NOT_COLLECTED) return true;
  std::optional<std::string>& collected = module.values[static_cast<size_t>(row - ITEMS)];
  if (const FileCode failed = Collect(collected, value); failed != FILE_OK) {
    rc = failed;
    return false;
  }
  if (collected->size() > row->limit) {
    CallTrace(1, "mdf_Get: %s exceeds limit of %zu (len = %zu)\n", item, row->limit, collected->size());
    rc = FILE_FAILED;
  }
  return true;
}

// Reads the lines of the section.
FileCode ReadModule(Module& module, const char* fname) {
  const int hdl = IniOpen(fname, module.section.get());
  if (hdl == NO_INI_HANDLE) return MinusErrno();
  FileCode rc = FILE_OK;
  std::array<char, 80> item;
  std::array<char, 256> value;
  IniState state;
  do state = IniNextEntry(hdl, item.data(), std::size(item), value.data(), std::size(value));
  while (state == INI_INSIDE && TakeLine(module, item.data(), value.data(), rc));
  if (state == INI_FAILED && rc == FILE_OK) rc = MinusErrno();
  const FileCode closed = IniClose(hdl) ? FILE_OK : FILE_FAILED;
  return rc != FILE_OK ? rc : closed;
}

// Makes the section the one that was read last. None is, when it fails.
FileCode ReadSection(const char* fname, const char* section) {
  module_read = {};
  errno = 0;
  module_read.section = CopyText(section);
  const FileCode rc = module_read.section != nullptr ? ReadModule(module_read, fname) : MinusErrno();
  if (rc != FILE_OK) module_read = {};
  return rc;
}

// ---- Packing --------------------------------------------------------------------------------------------------------

bool Pack(const Module& module, const Selection& selected, DllString& xbuf) {
  XbufWriter writer{xbuf.buf, xbuf.max};
  for (size_t i = 0; i < ITEM_COUNT; ++i)
    if (selected[i] && module.values[i] && !writer.Put(PREFIX, ITEMS[i].name, ITEMS[i].type, *module.values[i]))
      return false;
  if (!writer.End()) return false;
  xbuf.len = static_cast<int32_t>(writer.length);
  return true;
}

bool WasReadLast(const char* section) {
  return module_read.section != nullptr && EqualNoCase(module_read.section.get(), section);
}

}  // namespace

int32_t mdf_Get(zString fname, zString section, zString filter, Out<String> xbuf, Out<IntByReference> rc_p) {
  rc_p.Set(0);
  CallTrace(1, "mdf_Get: section = %s\n", section);
  const Selection selected = SelectRows(filter);
  if (!WasReadLast(section)) {
    const FileCode rc = ReadSection(fname, section);
    rc_p.Set(rc);
    if (rc != FILE_OK) return RESULT_OK;
  }
  if (Pack(module_read, selected, xbuf)) return RESULT_OK;
  module_read = {};
  return RESULT_TOO_SHORT;
}

}  // namespace vorlix
