#include "tools/support/archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>

#include "tools/failure.h"
#include "tools/files.h"

namespace vorlix::tool {
namespace {

constexpr size_t MOST_BYTES = size_t{1} << 30;

struct Closing {
  void operator()(archive* one) const { archive_free(one); }
  void operator()(archive_entry* one) const { archive_entry_free(one); }
};
using Archive = std::unique_ptr<archive, Closing>;
using Entry = std::unique_ptr<archive_entry, Closing>;

[[noreturn]] void Refuse(Status status, const std::string& path, const char* why) {
  throw ToolError(status, path + ": " + (why != nullptr ? why : "cannot be packed"));
}

void Add(const Archive& out, const std::string& path, const Member& member) {
  const Entry entry(archive_entry_new());
  archive_entry_set_pathname(entry.get(), member.name.c_str());
  archive_entry_set_size(entry.get(), static_cast<la_int64_t>(member.bytes.size()));
  archive_entry_set_filetype(entry.get(), AE_IFREG);
  archive_entry_set_perm(entry.get(), 0600);
  const auto size = static_cast<la_ssize_t>(member.bytes.size());
  if (archive_write_header(out.get(), entry.get()) != ARCHIVE_OK ||
      archive_write_data(out.get(), member.bytes.data(), member.bytes.size()) != size)
    Refuse(Status::OtherCode, path, archive_error_string(out.get()));
}

// A name that stays in the directory where it is unpacked.
bool IsWithin(const std::filesystem::path& name) {
  if (name.empty() || name.is_absolute()) return false;
  for (const auto& part : name)
    if (part == "..") return false;
  return true;
}

std::string ReadBytes(const Archive& in, const std::string& path, size_t most) {
  std::string bytes;
  std::array<char, 65536> piece;
  for (;;) {
    const la_ssize_t count = archive_read_data(in.get(), piece.data(), piece.size());
    if (count < 0) Refuse(Status::Usage, path, archive_error_string(in.get()));
    if (count == 0) return bytes;
    if (bytes.size() + static_cast<size_t>(count) > most) Refuse(Status::Usage, path, "holds more than a gigabyte");
    bytes.append(piece.data(), static_cast<size_t>(count));
  }
}

// The one library compresses and knows archives, and does not compare the checksum; the other does.
std::string Decompress(std::string_view bytes, const std::string& path) {
  constexpr int WITH_GZIP_HEADER = 16 + MAX_WBITS;
  z_stream stream{};
  if (inflateInit2(&stream, WITH_GZIP_HEADER) != Z_OK) throw std::bad_alloc();
  const std::unique_ptr<z_stream, int (*)(z_stream*)> end(&stream, inflateEnd);
  stream.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  std::string result;
  std::array<char, 65536> piece;
  for (int state = Z_OK; state != Z_STREAM_END;) {
    stream.next_out = reinterpret_cast<Bytef*>(piece.data());
    stream.avail_out = piece.size();
    state = inflate(&stream, Z_NO_FLUSH);
    if (state != Z_OK && state != Z_STREAM_END) Refuse(Status::Usage, path, "the archive is damaged, or cut off");
    result.append(piece.data(), piece.size() - stream.avail_out);
    if (result.size() > MOST_BYTES) Refuse(Status::Usage, path, "holds more than a gigabyte");
  }
  return result;
}

}  // namespace

bool IsArchive(std::string_view bytes) { return bytes.starts_with("\x1f\x8b"); }

void WriteArchive(const std::string& path, const std::vector<Member>& members) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) Refuse(Status::OtherCode, path, std::strerror(errno));
  const Archive out(archive_write_new());
  archive_write_add_filter_gzip(out.get());
  archive_write_set_filter_option(out.get(), "gzip", "timestamp", nullptr);  // the same files are the same bytes
  archive_write_set_format_ustar(out.get());
  try {
    if (archive_write_open_fd(out.get(), fd) != ARCHIVE_OK)
      Refuse(Status::OtherCode, path, archive_error_string(out.get()));
    for (const Member& member : members) Add(out, path, member);
    if (archive_write_close(out.get()) != ARCHIVE_OK || close(fd) != 0)
      Refuse(Status::OtherCode, path, archive_error_string(out.get()));
  } catch (const ToolError&) {
    close(fd);
    unlink(path.c_str());
    throw;
  }
}

std::vector<Member> ReadArchive(std::string_view bytes, const std::string& path) {
  const std::string tar = Decompress(bytes, path);
  const Archive in(archive_read_new());
  archive_read_support_format_tar(in.get());
  if (archive_read_open_memory(in.get(), tar.data(), tar.size()) != ARCHIVE_OK)
    Refuse(Status::Usage, path, archive_error_string(in.get()));
  std::vector<Member> members;
  size_t room = MOST_BYTES;
  archive_entry* entry = nullptr;
  int result = ARCHIVE_OK;
  while ((result = archive_read_next_header(in.get(), &entry)) == ARCHIVE_OK) {
    if (archive_entry_filetype(entry) != AE_IFREG) continue;
    const char* const name = archive_entry_pathname(entry);
    if (name == nullptr || !IsWithin(name)) Refuse(Status::Usage, path, "a name in it leads out of its directory");
    members.push_back({std::filesystem::path(name).lexically_normal().string(), ReadBytes(in, path, room)});
    room -= members.back().bytes.size();
  }
  if (result != ARCHIVE_EOF) Refuse(Status::Usage, path, archive_error_string(in.get()));
  return members;
}

void Unpack(const std::vector<Member>& members, const std::string& directory) {
  for (const Member& member : members) {
    const std::filesystem::path file = std::filesystem::path(directory) / member.name;
    std::error_code ignored;
    std::filesystem::create_directories(file.parent_path(), ignored);
    WriteFile(file.string(), member.bytes);
  }
}

}  // namespace vorlix::tool
