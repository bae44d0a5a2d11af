#include "tools/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "tools/failure.h"

namespace vorlix::tool {
namespace {

[[noreturn]] void Fail(const std::string& what, const std::string& path) {
  throw ToolError(Status::OtherCode, "cannot " + what + ' ' + path + ": " + std::strerror(errno));
}

std::string ReadAll(std::FILE* file, const std::string& path) {
  std::string text;
  std::array<char, 65536> block;
  // At the end of a terminal's input a further read would wait for the next end.
  while (std::feof(file) == 0 && std::ferror(file) == 0)
    text.append(block.data(), std::fread(block.data(), 1, block.size(), file));
  if (std::ferror(file) != 0) Fail("read", path);
  return text;
}

}  // namespace

std::string ReadFile(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"), &std::fclose);
  if (!file) Fail("read", path);
  return ReadAll(file.get(), path);
}

void WriteFile(const std::string& path, std::string_view text) {
  std::FILE* const file = std::fopen(path.c_str(), "w");
  if (file == nullptr) Fail("write", path);
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (std::fclose(file) != 0 || !written) Fail("write", path);
}

bool IsAmong(const std::string& file, const std::vector<std::string>& paths) {
  std::error_code ignored;  // one that is not there is none of them
  return std::ranges::any_of(paths,
                             [&](const std::string& path) { return std::filesystem::equivalent(path, file, ignored); });
}

std::string ReadStandardInput() { return ReadAll(stdin, "standard input"); }

}  // namespace vorlix::tool
