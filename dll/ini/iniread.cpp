// The handle table, the walk through open files, and the lookup of single entries.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "dll/base/text.h"
#include "dll/ini/ini.h"
#include "dll/ini/inifile.h"
#include "dll/ini/inisyntax.h"

namespace vorlix {
namespace {

struct IniHandle {
  IniFile file;
  IniState state = INI_ENDED;
};

// The blocks are static, so no operation can run out of memory; and made with the first use, so that a server that
// walks through no file has not touched their pages.
std::array<IniHandle, INI_HANDLE_COUNT>& Handles() {
  static std::array<IniHandle, INI_HANDLE_COUNT> handles;
  return handles;
}
bool table_set_up = false;

// Every character of every name is put into upper case: that takes a table, made anew from the process's locale with
// every IniOpen.
std::array<char, 256> upper_case;

void LoadUpperCase() {
  for (size_t c = 0; c < upper_case.size(); ++c) upper_case[c] = UpperCase(static_cast<char>(c));
}

IniState Fail(int error) {
  errno = error;
  return INI_FAILED;
}

int NoHandle(int error) {
  errno = error;
  return NO_INI_HANDLE;
}

bool InTable(int hdl) { return table_set_up && hdl >= 0 && hdl < INI_HANDLE_COUNT; }

// Null, with errno set, when the handle is not open.
IniHandle* FindHandle(int hdl) {
  if (InTable(hdl)) {
    IniHandle& handle = Handles()[static_cast<size_t>(hdl)];
    if (handle.file.IsOpen()) return &handle;
  }
  errno = EINVAL;
  return nullptr;
}

// What is returned when no further line came.
IniState EndOfLines(IniHandle& handle) {
  handle.state = INI_ENDED;
  return handle.file.Error() != 0 ? Fail(handle.file.Error()) : handle.state;
}

IniState EnterSection(IniHandle& handle, std::string_view section) {
  if (!SeekSection(handle.file, section)) return EndOfLines(handle);
  return handle.state = INI_INSIDE;
}

// Copies as much as fits. A NUL in the text ends what its reader sees.
void CopyOut(std::string_view text, char* buf, int size) {
  const size_t length = text.copy(buf, static_cast<size_t>(size) - 1);
  buf[length] = '\0';
}

void CopyOutUpper(std::string_view text, char* buf, int size) {
  text = text.substr(0, static_cast<size_t>(size) - 1);
  *std::transform(text.begin(), text.end(), buf, [](unsigned char c) { return upper_case[c]; }) = '\0';
}

bool FindEntry(IniFile& file, std::string_view section, std::string_view name, IniEntry& entry) {
  if (!SeekSection(file, section)) return false;
  std::string_view line;
  while (file.NextLine(line) && !EndsSection(line))
    if (ParseEntry(line, entry) && EqualNoCase(entry.name, name)) return true;
  return false;
}

}  // namespace

int IniOpen(const char* path, std::string_view section) {
  table_set_up = true;
  auto& handles = Handles();
  const auto free = std::find_if(handles.begin(), handles.end(), [](const IniHandle& h) { return !h.file.IsOpen(); });
  if (free == handles.end()) return NoHandle(ENOSPC);
  if (const int error = free->file.Open(path); error != 0) return NoHandle(error);
  LoadUpperCase();
  if (EnterSection(*free, section) == INI_FAILED) {
    const int error = errno;
    free->file.Close();
    return NoHandle(error);
  }
  return static_cast<int>(free - handles.begin());
}

bool IniClose(int hdl) {
  if (!InTable(hdl)) {
    errno = EINVAL;
    return false;
  }
  Handles()[static_cast<size_t>(hdl)].file.Close();
  return true;
}

void IniCloseAll() {
  if (!table_set_up) return;
  for (IniHandle& handle : Handles()) handle.file.Close();
  table_set_up = false;
}

IniState IniFindSection(int hdl, std::string_view section) {
  IniHandle* handle = FindHandle(hdl);
  if (handle == nullptr) return INI_FAILED;
  handle->file.Rewind();
  return EnterSection(*handle, section);
}

IniState IniNextLine(int hdl, char* buf, int size) {
  IniHandle* handle = FindHandle(hdl);
  if (handle == nullptr) return INI_FAILED;
  if (size < 1) return Fail(EINVAL);
  if (handle->state != INI_INSIDE) return handle->state;
  std::string_view line;
  if (!handle->file.NextLine(line)) return EndOfLines(*handle);
  if (EndsSection(line)) {
    handle->file.Unread(line);
    return handle->state = INI_HEADER_NEXT;
  }
  const auto room = static_cast<size_t>(size) - 1;
  if (line.size() > room) handle->file.Unread(line.substr(room));
  CopyOut(line, buf, size);
  return handle->state;
}

IniState IniNextSection(int hdl, char* name, int size) {
  IniHandle* handle = FindHandle(hdl);
  if (handle == nullptr) return INI_FAILED;
  if (size < 1) return Fail(EINVAL);
  std::string_view line;
  std::string_view section;
  do
    if (!handle->file.NextBracketLine(line)) return EndOfLines(*handle);
  while (!ParseHeader(line, section));
  CopyOutUpper(section, name, size);
  return handle->state = INI_INSIDE;
}

IniState IniNextEntry(int hdl, char* item, int isize, char* value, int vsize) {
  IniHandle* handle = FindHandle(hdl);
  if (handle == nullptr) return INI_FAILED;
  if (isize < 1 || vsize < 1) return Fail(EINVAL);
  std::string_view line;
  IniEntry entry;
  do {
    if (!handle->file.NextLine(line)) return EndOfLines(*handle);
    if (EndsSection(line)) {
      handle->file.Unread(line);
      return handle->state = INI_ENDED;
    }
  } while (!ParseEntry(line, entry));
  CopyOutUpper(entry.name, item, isize);
  CopyOut(ParseValue(entry.rest), value, vsize);
  return handle->state = INI_INSIDE;
}

int64_t IniOffset(int hdl) {
  const IniHandle* const handle = FindHandle(hdl);
  return handle != nullptr ? handle->file.Offset() : -1;
}

size_t IniGetString(std::string_view section, std::string_view entry, std::string_view fallback, char* buf, int size,
                    const char* path) {
  if (size < 1) return 0;
  IniFile file;
  IniEntry found;
  if (file.Open(path) == 0 && FindEntry(file, section, entry, found)) fallback = ParseValue(found.rest);
  CopyOut(fallback, buf, size);
  return std::strlen(buf);
}

int32_t IniGetInt(std::string_view section, std::string_view entry, int32_t fallback, const char* path) {
  char text[INI_TEXT_SIZE];
  if (IniGetString(section, entry, "", text, INI_TEXT_SIZE, path) == 0) return fallback;
  return ReadNumber(text);
}

}  // namespace vorlix
