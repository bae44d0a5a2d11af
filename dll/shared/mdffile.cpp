#include "dll/shared/mdffile.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>

#include "dll/ini/ini.h"

namespace vorlix {
namespace {

// Adds a line's value to what was collected before.
FileCode Collect(std::optional<std::string>& collected, std::string_view value, ModuleObserver& observer) {
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
    observer.OnNoMemory(errno, size + 1);
    return rc;
  }
}

// Takes one line. False ends the reading; `rc` becomes what is wrong, if anything is.
bool TakeLine(Module& module, const char* item, const char* value, ModuleObserver& observer, FileCode& rc) {
  observer.OnEntry();
  const auto* const row =
      std::ranges::find_if(MODULE_ITEMS, [&](const ModuleItem& one) { return std::string_view(one.item) == item; });
  if (row == std::end(MODULE_ITEMS)) {
    observer.OnIgnored(item, value);
    return true;
  }
  if (row->type == NOT_COLLECTED) return true;
  std::optional<std::string>& collected = module.values[static_cast<size_t>(row - MODULE_ITEMS)];
  if (const FileCode failed = Collect(collected, value, observer); failed != FILE_OK) {
    rc = failed;
    return false;
  }
  if (collected->size() > row->limit) {
    observer.OnTooLong(*row, collected->size());
    rc = FILE_FAILED;
  }
  return true;
}

}  // namespace

FileCode ReadModule(Module& module, const char* fname, ModuleObserver& observer) {
  const int hdl = IniOpen(fname, module.name.get());
  if (hdl == NO_INI_HANDLE) return MinusErrno();
  FileCode rc = FILE_OK;
  std::array<char, MODULE_NAME_SIZE> item;
  std::array<char, MODULE_VALUE_SIZE> value;
  IniState state;
  do state = IniNextEntry(hdl, item.data(), std::size(item), value.data(), std::size(value));
  while (state == INI_INSIDE && TakeLine(module, item.data(), value.data(), observer, rc));
  if (state == INI_FAILED && rc == FILE_OK) rc = MinusErrno();
  const FileCode closed = IniClose(hdl) ? FILE_OK : FILE_FAILED;
  return rc != FILE_OK ? rc : closed;
}

}  // namespace vorlix
