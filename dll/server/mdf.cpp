// mdf_Get: reads one section of a model definition file, an INI file that describes the program modules of the host's
// application, one a section.
//
// What was read last is kept, by the name of the section alone, so that the host can ask for parts of it in several
// calls. Whatever fails drops it. The call reports what it passes over to standard error, like the call trace and with
// its switch (dll_Debug).
#include <algorithm>
#include <bitset>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

#include "dll/base/syscall.h"
#include "dll/base/text.h"
#include "dll/server/functions.h"
#include "dll/shared/mdffile.h"
#include "dll/shared/xpack.h"
#include "hostif/dllif.h"

namespace vorlix {
namespace {

constexpr char PREFIX[] = "Mdf_";

// Some of the rows.
using Selection = std::bitset<MODULE_ITEM_COUNT>;

// The section that was read last.
Module module_read;

// ---- The filter -----------------------------------------------------------------------------------------------------

Selection RowsNamed(std::string_view name) {
  Selection rows;
  for (size_t i = 0; i < MODULE_ITEM_COUNT; ++i) rows[i] = EqualNoCase(MODULE_ITEMS[i].name, name);
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

// Says what it does not take.
class Tracing : public ModuleObserver {
 public:
  void OnEntry() override {}
  void OnIgnored(const char* item, const char* value) override {
    CallTrace(1, "mdf_Get: do_read: ignored: %s (%s)\n", item, value);
  }
  void OnTooLong(const ModuleItem& row, size_t length) override {
    CallTrace(1, "mdf_Get: %s exceeds limit of %zu (len = %zu)\n", row.item, row.limit, length);
  }
  void OnNoMemory(int error, size_t size) override {
    CallTrace(1, "mdf_Get: do_read: errno = %d, sz = %zu\n", error, size);
  }
};

// Makes the section the one that was read last. None is, when it fails.
FileCode ReadSection(const char* fname, const char* section) {
  module_read = {};
  errno = 0;
  module_read.name = CopyText(section);
  Tracing tracing;
  const FileCode rc = module_read.name != nullptr ? ReadModule(module_read, fname, tracing) : MinusErrno();
  if (rc != FILE_OK) module_read = {};
  return rc;
}

// ---- Packing --------------------------------------------------------------------------------------------------------

bool Pack(const Module& module, const Selection& selected, DllString& xbuf) {
  XbufWriter writer{xbuf.buf, xbuf.max};
  for (size_t i = 0; i < MODULE_ITEM_COUNT; ++i)
    if (selected[i] && module.values[i] &&
        !writer.Put(PREFIX, MODULE_ITEMS[i].name, MODULE_ITEMS[i].type, *module.values[i]))
      return false;
  if (!writer.End()) return false;
  xbuf.len = static_cast<int32_t>(writer.length);
  return true;
}

bool WasReadLast(const char* section) {
  return module_read.name != nullptr && EqualNoCase(module_read.name.get(), section);
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
