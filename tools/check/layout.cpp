// Lines of more than 1023 bytes, which the server takes for several, are one here: the check of their length says so.
#include "tools/check/layout.h"

#include <algorithm>

#include "dll/base/text.h"
#include "dll/ini/inisyntax.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

// A part of a line, as a span in it.
Span SpanOf(size_t number, std::string_view line, std::string_view part) {
  const auto begin = static_cast<size_t>(part.data() - line.data());
  return {number, begin, begin + part.size()};
}

}  // namespace

Layout::Layout(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {
  for (size_t at = 0; at < text_->size(); at = std::min(text_->find('\n', at), text_->size() - 1) + 1)
    starts_.push_back(at);
  for (size_t number = 0; number < starts_.size(); ++number) ReadLine(number);
}

void Layout::ReadLine(size_t number) {
  const std::string_view line = Line(number);
  std::string_view name;
  if (line.empty()) return;
  if (EndsSection(line)) {
    current_ = NO_SECTION;
    if (!ParseHeader(line, name)) return;
    current_ = sections_.size();
    sections_.push_back({name, SpanOf(number, line, name), {}});
    return;
  }
  IniEntry entry;
  if (!ParseEntry(line, entry)) return;
  const std::string_view value = ParseValue(entry.rest);
  const std::string_view rest = TrimStart(TrimEnd(entry.rest));
  if (current_ != NO_SECTION) sections_[current_].entries.push_back(entries_.size());
  entries_.push_back({current_, entry.name, value, SpanOf(number, line, entry.name), SpanOf(number, line, value),
                      SpanOf(number, line, rest)});
}

std::string_view Layout::Line(size_t line) const {
  const size_t begin = starts_.at(line);
  const size_t end = line + 1 < starts_.size() ? starts_[line + 1] : text_->size();
  std::string_view whole = std::string_view(*text_).substr(begin, end - begin);
  while (whole.ends_with('\n') || whole.ends_with('\r')) whole.remove_suffix(1);
  return whole;
}

size_t Layout::LineAt(size_t offset, size_t from) const {
  while (from + 1 < starts_.size() && starts_[from + 1] <= offset) ++from;
  return from;
}

size_t Layout::SectionAt(size_t line) const {
  const auto found =
      std::ranges::lower_bound(sections_, line, {}, [](const LayoutSection& one) { return one.span.line; });
  const bool is_there = found != sections_.end() && found->span.line == line;
  return is_there ? static_cast<size_t>(found - sections_.begin()) : NO_SECTION;
}

const LayoutEntry* Layout::EntryAt(size_t line) const {
  const auto found =
      std::ranges::lower_bound(entries_, line, {}, [](const LayoutEntry& one) { return one.name_span.line; });
  return found != entries_.end() && found->name_span.line == line ? &*found : nullptr;
}

size_t Layout::FindSection(std::string_view name) const {
  const auto found =
      std::ranges::find_if(sections_, [&](const LayoutSection& one) { return EqualNoCase(one.name, name); });
  return found != sections_.end() ? static_cast<size_t>(found - sections_.begin()) : NO_SECTION;
}

const LayoutEntry* Layout::FindEntry(size_t section, std::string_view name) const {
  const LayoutEntry* last = nullptr;
  if (section == NO_SECTION) return last;
  for (const size_t entry : sections_.at(section).entries)
    if (EqualNoCase(entries_[entry].name, name)) last = &entries_[entry];
  return last;
}

size_t ColumnOf(std::string_view line, size_t byte) {
  const std::string_view before = line.substr(0, byte);
  if (!IsUtf8(line)) return before.size();
  return static_cast<size_t>(std::ranges::count_if(before, [](char c) { return (c & 0xc0) != 0x80; }));
}

}  // namespace vorlix::tool
