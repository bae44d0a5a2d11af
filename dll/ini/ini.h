// INI files: named sections in square brackets with entries of the form name=value.
//
// Two kinds of access. The one-shot operations open a file, look up or replace one entry and close it again; they need
// no handle. The others walk through a file that IniOpen has opened, section by section and entry by entry; there are
// INI_HANDLE_COUNT handles in the process, which the host's calls, dictionary loading and model definitions share.
//
// How a file is read:
//   - Lines are read up to 1023 bytes; a longer line counts as several.
//   - ';' or '#' as the first byte makes a comment.
//   - '[' as the first byte ends the section before it. With a ']' the line is the header of the section whose name
//     stands between the two, without white space at its ends; without one, what follows belongs to no section.
//   - Any other line with '=' is an entry. Its value ends at CR, LF, ';' or '#', also within quotes; a leading quote is
//     dropped and the same quote ends the value; unquoted values lose the white space at their end.
//   - Names compare without regard to case. Entries before the first header are those of the section "".
//   - Text that is handed over ends before its first NUL byte.
// White space, and the case in which names are handed out, are those of the process's character-type locale; names
// compare by the letters that are fixed at start-up (FixNameLetters).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vorlix {

inline constexpr int INI_HANDLE_COUNT = 3;
/// Room that any line, name or value fits into with its NUL.
inline constexpr int INI_TEXT_SIZE = 1024;

/// Where the walk through a file stands, or that a step of it failed.
enum [[nodiscard]] IniState : int{
    INI_FAILED = -1,      // errno says why
    INI_INSIDE = 0,       // in a section, more lines may follow
    INI_ENDED = 1,        // the section or the file has ended, or the section was not found
    INI_HEADER_NEXT = 2,  // the next line begins with '[' and has been left unread
};

// ---- Walking --------------------------------------------------------------------------------------------------------
//
// Buffers are `size` bytes large: at most size - 1 characters arrive, and a NUL. Every operation that returns a state
// fails for a handle that is not open or a size below 1 (EINVAL), and when the file cannot be read on (as the system
// says); IniNextLine says so once.

/// Opens a regular file at the first line of `section`, or at its start when `section` is empty. A section that does
/// not exist leaves the state INI_ENDED. Gives the lowest free handle, or NO_INI_HANDLE with errno set: ENOSPC when all
/// handles are in use, else what the system says; directories are EISDIR, devices and pipes ENODEV.
inline constexpr int NO_INI_HANDLE = -1;
[[nodiscard]] int IniOpen(const char* path, std::string_view section);

/// Gives a handle back. True, also when nothing was open; false with errno EINVAL for a number that is no handle, and
/// for all numbers before the first IniOpen and after IniCloseAll.
bool IniClose(int hdl);

void IniCloseAll();

/// Starts again from the top: to the first line of `section`, or to the start of the file when it is empty.
IniState IniFindSection(int hdl, std::string_view section);

/// Reads the next line of the section as it stands, comments and line feeds included; of a line that is longer than the
/// buffer each part counts as a line, and a buffer without room for a character brings the line no further. In the
/// states INI_ENDED and INI_HEADER_NEXT it reads nothing.
IniState IniNextLine(int hdl, char* buf, int size);

/// Goes to the next section header, whatever the state, and gives its name in upper case.
IniState IniNextSection(int hdl, char* name, int size);

/// Goes to the next entry of the section, whatever the state, and gives its name in upper case and its value as
/// written.
IniState IniNextEntry(int hdl, char* item, int isize, char* value, int vsize);

/// Where the next line of an open file starts, in bytes from its start; -1 when the handle is not open.
int64_t IniOffset(int hdl);

// ---- One entry ------------------------------------------------------------------------------------------------------

/// Copies the value of the first such entry in the first such section, or `fallback` when file, section or entry are
/// missing or cannot be read. Returns the length, at most size - 1; 0, with nothing copied, for a size below 1.
size_t IniGetString(std::string_view section, std::string_view entry, std::string_view fallback, char* buf, int size,
                    const char* path);

/// The number that the value begins with, 0 when it begins with none, `fallback` when the value is missing or empty.
/// Numbers beyond 32 bits give the nearest end of the range.
int32_t IniGetInt(std::string_view section, std::string_view entry, int32_t fallback, const char* path);

/// Replaces the first such entry in the first such section, or adds it at the section's end, after adding the section
/// at the end of the file where needed; a missing file is created. False when it failed, and the file stands as it
/// was.
[[nodiscard]] bool IniSetString(std::string_view section, std::string_view entry, std::string_view value,
                                const char* path);

}  // namespace vorlix
