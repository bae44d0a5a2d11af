// Archives of a few small files: a compressed tar, which every system unpacks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

struct Member {
  std::string name;  // relative, as "files/1-kunden.dic"
  std::string bytes;
};

/// Whether the first bytes of a file are those of a compressed archive.
bool IsArchive(std::string_view bytes);

/// A new file of mode 0600. Throws ToolError (OtherCode) when it cannot be written, or is already there.
void WriteArchive(const std::string& path, const std::vector<Member>& members);

/// The files in an archive. Throws ToolError (Usage) when it is none, a name leads out of its directory, or the files
/// have more than a gigabyte together.
std::vector<Member> ReadArchive(std::string_view bytes, const std::string& path);

/// Writes the files below a directory. Throws ToolError (OtherCode).
void Unpack(const std::vector<Member>& members, const std::string& directory);

}  // namespace vorlix::tool
