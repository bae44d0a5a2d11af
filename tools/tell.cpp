#include "tools/tell.h"

#include <cstdio>
#include <string>

#include "tools/paint.h"
#include "tools/quoting.h"

namespace vorlix::tool {

void Tell(std::string_view message) {
  const std::string told = "vorlix: " + Printable(message);
  std::fprintf(stderr, "%s\n", Fold(told, TerminalWidth(STDERR_FILENO)).c_str());
}

}  // namespace vorlix::tool
