// The page is served by a program of its own, vorlix-preview, which is this one with the library that serves pages:
// that brings TLS and compression along, and the start of all other commands would take a millisecond and a half
// longer.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tools/ending.h"
#include "tools/preview/serve.h"

namespace vorlix::tool {
namespace {

namespace fs = std::filesystem;

// Beside this program, or in ../libexec from there.
std::string FindProgram() {
  const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
  const fs::path beside = here / "vorlix-preview";
  return fs::exists(beside) ? beside : here.parent_path() / "libexec" / "vorlix-preview";
}

}  // namespace

Status ServePreview(const Options&, const PreviewCommand& command) {
  std::string program = FindProgram();
  std::vector<std::string> words = command.words;
  std::vector<char*> pointers = {program.data()};
  for (size_t k = 1; k < words.size(); ++k) pointers.push_back(words[k].data());
  pointers.push_back(nullptr);
  HoldEndingSignals();  // what comes now is for the other program
  EndIfSignalled();
  execv(program.c_str(), pointers.data());
  throw ToolError(Status::OtherCode, program + " cannot be run, which serves the page: " + std::strerror(errno));
}

}  // namespace vorlix::tool
