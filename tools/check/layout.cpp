// Lines of more than 1023 bytes, which the server takes for several, are one here: the check of their length says so.
#include "tools/check/layout.h"

#include <algorithm>

#include "dll/ini/inisyntax.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

std::string_view WithoutEnd(std::string_view line) {
  while (line.ends_with('\n') || line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

Layout::Layout(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {
  starts_.reserve(static_cast<size_t>(std::ranges::count(*text_, '\n')) + 1);
  entries_.reserve(starts_.capacity());
  for (size_t at = 0, end = 0; at < text_->size(); at = end) {
    end = std::min(text_->find('\n', at), text_->size() - 1) + 1;
    starts_.push_back(static_cast<uint32_t>(at));
    ReadLine(static_cast<uint32_t>(starts_.size() - 1), WithoutEnd(std::string_view(*text_).substr(at, end - at)));
  }
}

void Layout::ReadLine(uint32_t number, std::string_view line) {
  if (line.empty()) return;
  if (EndsSection(line)) {
    std::string_view name;
    in_section_ = ParseHeader(line, name);
    if (in_section_) sections_.push_back({number, name, entries_.size(), entries_.size()});
    return;
  }
  IniEntry entry;
  if (!ParseEntry(line, entry)) return;
  entries_.emplace_back(number, in_section_, entry.name, ParseValue(entry.rest));
  if (in_section_) sections_.back().end = entries_.size();
}

Span Layout::SpanOf(size_t line, std::string_view part) const {
  const auto begin = static_cast<size_t>(part.data() - text_->data()) - starts_.at(line);
  return {line, begin, begin + part.size()};
}

std::string_view Layout::Line(size_t line) const {
  const size_t begin = starts_.at(line);
  const size_t end = line + 1 < starts_.size() ? starts_[line + 1] : text_->size();
  return WithoutEnd(std::string_view(*text_).substr(begin, end - begin));
}

size_t Layout::LineAt(size_t offset) const {
  const auto behind = std::ranges::upper_bound(starts_, offset);
  return behind == starts_.begin() ? 0 : static_cast<size_t>(behind - starts_.begin()) - 1;
}

size_t Layout::SectionOf(size_t line) const {
  const auto behind = std::ranges::upper_bound(sections_, line, {}, &LayoutSection::line);
  return behind == sections_.begin() ? NO_SECTION : static_cast<size_t>(behind - sections_.begin()) - 1;
}

size_t Layout::SectionAt(size_t line) const {
  const size_t section = SectionOf(line);
  return section != NO_SECTION && sections_[section].line == line ? section : NO_SECTION;
}

const LayoutEntry* Layout::EntryAt(size_t line) const {
  const auto found = std::ranges::lower_bound(entries_, line, {}, &LayoutEntry::line);
  return found != entries_.end() && found->line == line ? &*found : nullptr;
}

size_t Layout::Catalog() const {
  const auto first = std::ranges::find_if_not(
      sections_, [](std::string_view name) { return SameName(name, "xx"); }, &LayoutSection::name);
  const bool is_catalog = first != sections_.end() && SameName(first->name, "catalog");
  return is_catalog ? static_cast<size_t>(first - sections_.begin()) : NO_SECTION;
}

bool Layout::IsObject(size_t section) const {
  if (section == NO_SECTION || section == Catalog()) return false;
  const std::string_view name = sections_.at(section).name;
  return !SameName(name, "list") && !SameName(name, "xx");
}

size_t Layout::FindSection(std::string_view name) const {
  const auto found =
      std::ranges::find_if(sections_, [&](const LayoutSection& one) { return SameName(one.name, name); });
  return found != sections_.end() ? static_cast<size_t>(found - sections_.begin()) : NO_SECTION;
}

const LayoutEntry* Layout::FindEntry(size_t section, std::string_view name) const {
  const LayoutEntry* last = nullptr;
  for (const LayoutEntry& entry : EntriesOf(section))
    if (SameName(entry.Name(), name)) last = &entry;
  return last;
}

size_t ColumnOf(std::string_view line, size_t byte) {
  const std::string_view before = line.substr(0, byte);
  if (!IsUtf8(line)) return before.size();
  return static_cast<size_t>(std::ranges::count_if(before, [](char c) { return (c & 0xc0) != 0x80; }));
}

}  // namespace vorlix::tool
