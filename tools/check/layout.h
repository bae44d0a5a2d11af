// A file as its lines: where its sections and entries stand, as the server's own syntax tells them apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vorlix::tool {

/// A place in a file: a line, and characters of it, all from 0. An empty range is a place between two characters.
struct Span {
  size_t line = 0;
  size_t begin = 0;  // bytes from the start of the line
  size_t end = 0;
};

/// Names and values are parts of the text.
struct LayoutEntry {
  uint32_t line;
  std::string_view name;   // as written
  std::string_view value;  // as the server takes it, but not cut
  bool is_in_section;      // not before the first header, nor behind one that is broken
};

struct LayoutSection {
  uint32_t line;          // of the header
  std::string_view name;  // as written
  size_t first;           // its entries: their numbers from here on
  size_t end;             // and up to here
};

/// Keeps the text, which all names and values borrow from; copies share it.
class Layout {
 public:
  static constexpr size_t NO_SECTION = static_cast<size_t>(-1);

  explicit Layout(std::string text);

  const std::string& Text() const { return *text_; }
  size_t LineCount() const { return starts_.size(); }
  /// A line without its end.
  std::string_view Line(size_t line) const;
  /// The line in which the byte at `offset` stands, which is `from` or one soon behind it.
  size_t LineAt(size_t offset, size_t from) const;

  const std::vector<LayoutSection>& Sections() const { return sections_; }
  const std::vector<LayoutEntry>& Entries() const { return entries_; }
  std::span<const LayoutEntry> EntriesOf(const LayoutSection& section) const {
    return std::span(entries_).subspan(section.first, section.end - section.first);
  }

  Span HeaderSpan(size_t section) const { return SpanOf(sections_.at(section).line, sections_[section].name); }
  Span NameSpan(const LayoutEntry& entry) const { return SpanOf(entry.line, entry.name); }
  Span ValueSpan(const LayoutEntry& entry) const { return SpanOf(entry.line, entry.value); }

  /// The number of the section whose header stands in the line, NO_SECTION for none.
  size_t SectionAt(size_t line) const;
  /// The entry that stands in the line, null for none.
  const LayoutEntry* EntryAt(size_t line) const;
  /// The first section of this name, the last entry of it with this name: those that count. Without regard to case.
  size_t FindSection(std::string_view name) const;
  const LayoutEntry* FindEntry(size_t section, std::string_view name) const;

 private:
  void ReadLine(size_t number);
  Span SpanOf(size_t line, std::string_view part) const;

  std::shared_ptr<const std::string> text_;
  std::vector<size_t> starts_;  // of lines
  std::vector<LayoutSection> sections_;
  std::vector<LayoutEntry> entries_;
  bool in_section_ = false;
};

/// Characters before the byte: a line of UTF-8 counts them, any other counts bytes.
size_t ColumnOf(std::string_view line, size_t byte);

}  // namespace vorlix::tool
