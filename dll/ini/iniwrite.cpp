// Changing one entry: a first pass over the lines finds the bytes that go, a second copies everything else as it
// stands.
#include <new>
#include <string>

#include "dll/base/text.h"
#include "dll/ini/ini.h"
#include "dll/ini/inifile.h"
#include "dll/ini/inireplace.h"
#include "dll/ini/inisyntax.h"

namespace vorlix {
namespace {

// The bytes from `begin` to `end` make room for the entry.
struct Place {
  off_t begin = 0;
  off_t end = 0;
  bool needs_header = false;
};

// False when the file could not be read.
bool FindPlace(IniFile& file, std::string_view section, std::string_view name, Place& place) {
  place.needs_header = !SeekSection(file, section);
  std::string_view line;
  IniEntry entry;
  while (file.NextLine(line)) {
    const bool found = !EndsSection(line) && ParseEntry(line, entry) && EqualNoCase(entry.name, name);
    if (!found && !EndsSection(line)) continue;
    place.end = file.Offset();
    place.begin = place.end - static_cast<off_t>(line.size());
    if (!found) place.end = place.begin;
    return true;
  }
  place.begin = place.end = file.Offset();
  return file.Error() == 0;
}

void WriteHeader(FileReplacement& out, std::string_view section) {
  out.Write("[");
  out.Write(section);
  out.Write("]\n");
}

void WriteEntry(FileReplacement& out, std::string_view name, std::string_view value) {
  out.Write(name);
  out.Write("=");
  out.Write(value);
  out.Write("\n");
}

bool CreateFile(const std::string& path, std::string_view section, std::string_view entry, std::string_view value) {
  FileReplacement out(path, -1);
  if (!section.empty()) WriteHeader(out, section);
  WriteEntry(out, entry, value);
  return out.Commit();
}

bool RewriteFile(const std::string& path, IniFile& file, std::string_view section, std::string_view entry,
                 std::string_view value) {
  Place place;
  if (!FindPlace(file, section, entry, place)) return false;
  FileReplacement out(path, file.Descriptor());
  out.Copy(0, place.begin);
  if (place.needs_header) {
    out.Write("\n");
    WriteHeader(out, section);
  }
  out.EndLine();
  WriteEntry(out, entry, value);
  out.Copy(place.end, FileReplacement::END_OF_FILE);
  return out.Commit();
}

bool SetString(std::string_view section, std::string_view entry, std::string_view value, const char* path) {
  // Opened before any link is followed here: the system may refuse to follow a link that someone else has planted.
  IniFile file;
  const int error = file.Open(path);
  std::string target = path;
  if ((error != 0 && error != ENOENT) || !FollowLinks(target)) return false;
  return error == 0 ? RewriteFile(target, file, section, entry, value) : CreateFile(target, section, entry, value);
}

}  // namespace

bool IniSetString(std::string_view section, std::string_view entry, std::string_view value, const char* path) {
  try {
    return SetString(section, entry, value, path);
  } catch (const std::bad_alloc&) {
    return false;  // nothing is allocated once the temporary file exists
  }
}

}  // namespace vorlix
