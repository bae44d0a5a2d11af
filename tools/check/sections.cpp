// What is odd about sections: names that come twice, dialogs without fields, arrays with gaps.
#include <algorithm>
#include <map>
#include <unordered_map>

#include "dll/base/text.h"
#include "tools/check/style.h"

namespace vorlix::tool {
namespace {

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), LowerCase);
  return lower;
}

// The first entry of this name before the one at `at`; null for none. To be asked for one after the other.
class EarlierEntries {
 public:
  explicit EarlierEntries(std::span<const LayoutEntry> entries) : entries_(entries) {}

  const LayoutEntry* Find(size_t at) {
    constexpr size_t FEW = 32;  // which are compared with each other
    const std::string_view name = entries_[at].Name();
    if (entries_.size() > FEW) {
      const auto [found, is_new] = seen_.emplace(Lower(name), at);
      return is_new ? nullptr : &entries_[found->second];
    }
    for (size_t before = first_; before < at; ++before)
      if (SameName(entries_[before].Name(), name)) return &entries_[before];
    return nullptr;
  }

  // What comes from now on begins anew with the entry at `at`.
  void ForgetBefore(size_t at) {
    first_ = at;
    seen_ = {{Lower(entries_[at].Name()), at}};
  }

 private:
  std::span<const LayoutEntry> entries_;
  size_t first_ = 0;
  std::unordered_map<std::string, size_t> seen_;
};

// The lines of headers that are none for they are indented, and are told of, in their order.
std::vector<size_t> IndentedHeaders(const Findings& findings) {
  std::vector<size_t> lines;
  for (const Finding& finding : findings.list)
    if (finding.rule == &VX608) lines.push_back(finding.span.line);
  return lines;
}

bool HasBetween(const std::vector<size_t>& lines, size_t from, size_t to) {
  const auto next = std::ranges::upper_bound(lines, from);
  return next != lines.end() && *next < to;
}

// A PATH that comes again begins a field whose header is missing: what it repeats is that field's own.
void CheckRepeated(Findings& findings, std::span<const LayoutEntry> entries, const Rule& rule,
                   const std::vector<size_t>& indented) {
  const Layout& text = findings.layout;
  EarlierEntries earlier(entries);
  for (size_t k = 0; k < entries.size(); ++k) {
    const LayoutEntry* const first = earlier.Find(k);
    if (first == nullptr) continue;
    const bool begins_field = &rule == &VX614 && SameName(entries[k].Name(), "PATH");
    if (!begins_field || !HasBetween(indented, first->line, entries[k].line)) {
      Finding& finding =
          Note(findings, rule, text.NameSpan(entries[k]), std::string(entries[k].Name()) + " comes twice");
      finding.related = {{findings.file, text.NameSpan(*first), "and here before"}};
      if (begins_field) finding.remedy = "write the header of the second field above it, or take one of them out";
    }
    if (begins_field) earlier.ForgetBefore(k);
  }
}

void CheckRepeatedSections(Findings& findings, const Dict& dict) {
  if (!dict.sections.HasRepeated()) return;
  const Layout& text = findings.layout;
  std::unordered_map<std::string, size_t> first;
  for (size_t number = 0; number < text.Sections().size(); ++number) {
    if (!text.IsObject(number)) continue;
    const std::string_view name = text.Sections()[number].name;
    const auto [earlier, is_new] = first.emplace(Lower(name), number);
    if (is_new) continue;
    Note(findings, VX612, text.HeaderSpan(number), "the section [" + std::string(name) + "] comes twice").related = {
        {findings.file, text.HeaderSpan(earlier->second), "the first one is here"}};
  }
}

void CheckCatalog(Findings& findings, const Dict& dict) {
  const Layout& text = findings.layout;
  for (const LayoutEntry& entry : text.EntriesOf(text.Catalog()))
    if (dict.sections.FindGroup(entry.Name()) == SectionList::NONE)
      Note(findings, VX615, text.NameSpan(entry), "the dialog " + std::string(entry.Name()) + " has no fields");
}

// [kd.sum__3] is element 3 of the array kd.sum.
void CheckArrays(Findings& findings) {
  const Layout& text = findings.layout;
  std::map<std::string, std::map<size_t, Span>> arrays;
  for (size_t number = 0; number < text.Sections().size(); ++number) {
    const std::string_view name = text.Sections()[number].name;
    const size_t mark = name.rfind("__");
    if (mark == std::string::npos) continue;
    const int32_t index = ReadNumber(std::string(name.substr(mark + 2)).c_str());
    if (index > 0) arrays[Lower(name.substr(0, mark))].emplace(static_cast<size_t>(index), text.HeaderSpan(number));
  }
  for (const auto& [name, elements] : arrays) {
    size_t expected = 1;
    for (const auto& [index, span] : elements) {
      if (index != expected) Note(findings, VX626, span, "the array has no element " + std::to_string(expected));
      expected = index + 1;
    }
  }
}

}  // namespace

void CheckSections(Judged& judged, FileKind kind) {
  Findings& findings = judged.findings;
  const std::vector<LayoutSection>& sections = findings.layout.Sections();
  const size_t catalog = findings.layout.Catalog();
  const std::vector<size_t> indented = IndentedHeaders(findings);
  for (size_t number = 0; number < sections.size(); ++number) {
    const LayoutSection& section = sections[number];
    if (section.name.size() >= DICT_NAME_SIZE) Note(findings, VX603, findings.layout.HeaderSpan(number));
    if (SameName(section.name, "xx") || SameName(section.name, "list")) continue;
    CheckRepeated(findings, findings.layout.EntriesOf(section), number == catalog ? VX613 : VX614, indented);
  }
  if (judged.dict == nullptr) return;
  CheckRepeatedSections(findings, *judged.dict);
  if (kind != FileKind::Dictionary) return;
  // The lines below an indented header are dialogs now, and the fields are gone: that is said already.
  if (indented.empty()) CheckCatalog(findings, *judged.dict);
  CheckArrays(findings);
}

}  // namespace vorlix::tool
