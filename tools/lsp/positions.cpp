#include "tools/lsp/positions.h"

#include <algorithm>

namespace vorlix::tool {
namespace {

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80; }

// Units of UTF-16 of the character whose first byte this is; those beyond U+FFFF, of four bytes, have two.
size_t UnitsOf(char lead) { return IsContinuation(lead) ? 0 : static_cast<unsigned char>(lead) >= 0xf0 ? 2 : 1; }

}  // namespace

// Looks for lines as far as `enough` says, which is asked about the start of the last one.
template <class Enough>
void Positions::FindLines(Enough enough) const {
  for (; looked_at_ < text_.size() && !enough(starts_.back()); ++looked_at_) {
    const char c = text_[looked_at_];
    const bool is_half = c == '\r' && text_.substr(looked_at_ + 1).starts_with('\n');
    if ((c == '\n' || c == '\r') && !is_half) starts_.push_back(looked_at_ + 1);
  }
}

std::string_view Positions::LineAt(size_t line) const {
  const size_t start = starts_[line];
  const size_t end = line + 1 < starts_.size() ? starts_[line + 1] : text_.size();
  std::string_view whole = text_.substr(start, end - start);
  while (whole.ends_with('\n') || whole.ends_with('\r')) whole.remove_suffix(1);
  return whole;
}

Position Positions::At(size_t offset) const {
  offset = std::min(offset, text_.size());
  FindLines([=](size_t start) { return start > offset; });
  const auto behind = std::ranges::upper_bound(starts_, offset);
  const auto line = static_cast<size_t>(behind - starts_.begin()) - 1;
  const std::string_view before = text_.substr(starts_[line], offset - starts_[line]);
  if (encoding_ == TextEncoding::Latin1) return {line, before.size()};
  size_t units = 0;
  for (const char c : before) units += UnitsOf(c);
  return {line, units};
}

size_t Positions::OffsetOf(const Position& position) const {
  FindLines([&](size_t) { return starts_.size() > position.line + 1; });
  if (position.line >= starts_.size()) return text_.size();
  const std::string_view line = LineAt(position.line);
  size_t at = 0;
  if (encoding_ == TextEncoding::Latin1) {
    at = std::min(position.character, line.size());
  } else {
    for (size_t units = 0; at < line.size() && (units < position.character || IsContinuation(line[at])); ++at)
      units += UnitsOf(line[at]);
  }
  return starts_[position.line] + at;
}

}  // namespace vorlix::tool
