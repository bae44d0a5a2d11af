// A file as its lines: where its sections and entries stand, as the server's own syntax tells them apart.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "dll/base/text.h"

namespace vorlix::tool {

/// A place in a file: a line, and characters of it, all from 0. An empty range is a place between two characters.
struct Span {
  size_t line = 0;
  size_t begin = 0;  // bytes from the start of the line
  size_t end = 0;
};

/// An entry, whose name and value are parts of the text. Files have very many, so it is kept small.
class LayoutEntry {
 public:
  LayoutEntry(uint32_t number, bool belongs, std::string_view name, std::string_view value)
      : line(number),
        is_in_section(belongs),
        name_size_(static_cast<uint32_t>(name.size())),
        value_at_(static_cast<uint32_t>(value.data() - name.data())),
        value_size_(static_cast<uint32_t>(value.size())),
        name_(name.data()) {}

  /// As written.
  std::string_view Name() const { return {name_, name_size_}; }
  /// As the server takes it, but not cut.
  std::string_view Value() const { return {name_ + value_at_, value_size_}; }

  uint32_t line;
  bool is_in_section;  // not before the first header, nor behind one that is broken

 private:
  uint32_t name_size_;
  uint32_t value_at_;  // from the name on
  uint32_t value_size_;
  const char* name_;
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
  /// Where a line starts, in bytes.
  size_t Start(size_t line) const { return starts_.at(line); }
  /// A line without its end.
  std::string_view Line(size_t line) const;
  /// The line in which the byte at `offset` stands.
  size_t LineAt(size_t offset) const;

  const std::vector<LayoutSection>& Sections() const { return sections_; }
  const std::vector<LayoutEntry>& Entries() const { return entries_; }
  std::span<const LayoutEntry> EntriesOf(const LayoutSection& section) const {
    return std::span(entries_).subspan(section.first, section.end - section.first);
  }
  /// None of NO_SECTION.
  std::span<const LayoutEntry> EntriesOf(size_t section) const {
    return section != NO_SECTION ? EntriesOf(sections_.at(section)) : std::span<const LayoutEntry>();
  }

  Span HeaderSpan(size_t section) const { return SpanOf(sections_.at(section).line, sections_[section].name); }
  Span NameSpan(const LayoutEntry& entry) const { return SpanOf(entry.line, entry.Name()); }
  Span ValueSpan(const LayoutEntry& entry) const { return SpanOf(entry.line, entry.Value()); }

  /// The number of the section whose header stands in the line, NO_SECTION for none.
  size_t SectionAt(size_t line) const;
  /// The number of the section that the line belongs to, its header included; NO_SECTION before the first.
  size_t SectionOf(size_t line) const;
  /// The entry that stands in the line, null for none.
  const LayoutEntry* EntryAt(size_t line) const;
  /// The catalog: the first section, but for those that the server passes over. NO_SECTION where that is another one.
  size_t Catalog() const;
  /// Whether the section describes an object: it is not the catalog, nor a list, nor passed over.
  bool IsObject(size_t section) const;
  /// The first section of this name, the last entry of it with this name: those that count. Without regard to case.
  size_t FindSection(std::string_view name) const;
  const LayoutEntry* FindEntry(size_t section, std::string_view name) const;

 private:
  void ReadLine(uint32_t number, std::string_view line);
  Span SpanOf(size_t line, std::string_view part) const;

  std::shared_ptr<const std::string> text_;
  std::vector<uint32_t> starts_;  // of lines
  std::vector<LayoutSection> sections_;
  std::vector<LayoutEntry> entries_;
  bool in_section_ = false;
};

/// EqualNoCase, which most pairs of names do not get to: files have very many.
inline bool SameName(std::string_view one, std::string_view other) {
  if (one.size() != other.size()) return false;
  if (one.empty()) return true;
  const auto last = static_cast<unsigned char>(one.back());
  const auto other_last = static_cast<unsigned char>(other.back());
  const bool differ = last < 0x80 && other_last < 0x80 && (last | 0x20U) != (other_last | 0x20U);
  return !differ && EqualNoCase(one, other);
}

/// What stands before the first point of a section's name; empty where there is none.
inline std::string_view HandleOf(std::string_view section) {
  const size_t point = section.find('.');
  return point == std::string_view::npos ? std::string_view() : section.substr(0, point);
}

/// Characters before the byte: a line of UTF-8 counts them, any other counts bytes.
size_t ColumnOf(std::string_view line, size_t byte);

}  // namespace vorlix::tool
