#include "tools/lsp/frames.h"

#include <utility>

#include "dll/base/text.h"
#include "tools/words.h"

namespace vorlix::tool {
namespace {

constexpr size_t LONGEST_HEADER = 4096;
constexpr size_t LONGEST_MESSAGE = size_t{256} << 20;
constexpr std::string_view LINE_END = "\r\n";
constexpr std::string_view BLANKS = " \t";

// The length that the lines of a header name.
size_t ContentLength(std::string_view header) {
  constexpr std::string_view NAME = "Content-Length:";
  while (!header.empty()) {
    const std::string_view line = header.substr(0, header.find(LINE_END));
    header.remove_prefix(std::min(line.size() + LINE_END.size(), header.size()));
    if (!StartsWithNoCase(line, NAME)) continue;
    std::string_view value = line.substr(NAME.size());
    value.remove_prefix(std::min(value.find_first_not_of(BLANKS), value.size()));
    const auto length = ReadWhole<size_t>(value.substr(0, value.find_last_not_of(BLANKS) + 1));
    if (!length || *length > LONGEST_MESSAGE) break;
    return *length;
  }
  throw FramingLost("a header names no length of its message");
}

}  // namespace

std::optional<std::string> FrameReader::Next() {
  const std::string_view rest = std::string_view(pending_).substr(taken_);
  const size_t header_end = rest.substr(0, LONGEST_HEADER).find("\r\n\r\n");
  if (header_end == std::string_view::npos) {
    if (rest.size() >= LONGEST_HEADER) throw FramingLost("what comes is no header of a message");
    pending_.erase(0, std::exchange(taken_, 0));
    return {};
  }
  const size_t begin = header_end + 2 * LINE_END.size();
  const size_t length = ContentLength(rest.substr(0, header_end));
  if (rest.size() - begin < length) return {};
  std::string content(rest.substr(begin, length));
  taken_ += begin + length;
  return content;
}

std::string Frame(std::string_view content) {
  return "Content-Length: " + std::to_string(content.size()) + "\r\n\r\n" + std::string(content);
}

}  // namespace vorlix::tool
