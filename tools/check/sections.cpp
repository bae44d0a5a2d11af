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

// The first entry of this name before the one at `at`; null for none.
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
    for (size_t before = 0; before < at; ++before)
      if (SameName(entries_[before].Name(), name)) return &entries_[before];
    return nullptr;
  }

 private:
  std::span<const LayoutEntry> entries_;
  std::unordered_map<std::string, size_t> seen_;
};

// Whether a header that is none stands between two lines, and is told of.
bool HasBrokenHeader(const Findings& findings, size_t from, size_t to) {
  return std::ranges::any_of(findings.list, [=](const Finding& finding) {
    return finding.rule == &VX608 && finding.span.line > from && finding.span.line < to;
  });
}

// A PATH that comes again begins a field whose header is missing: what it repeats is that field's own.
void CheckRepeated(Findings& findings, std::span<const LayoutEntry> entries, const Rule& rule) {
  const Layout& text = findings.layout;
  EarlierEntries earlier(entries);
  for (size_t k = 0; k < entries.size(); ++k) {
    const LayoutEntry* const first = earlier.Find(k);
    if (first == nullptr) continue;
    const bool begins_field = &rule == &VX614 && SameName(entries[k].Name(), "PATH");
    if (!begins_field || !HasBrokenHeader(findings, first->line, entries[k].line)) {
      Finding& finding =
          Note(findings, rule, text.NameSpan(entries[k]), std::string(entries[k].Name()) + " comes twice");
      finding.related = {{findings.file, text.NameSpan(*first), "and here before"}};
      if (begins_field) finding.remedy = "write the header of the second field above it, or take one of them out";
    }
    if (begins_field) return CheckRepeated(findings, entries.subspan(k), rule);
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
  // The lines below an indented header are dialogs now, and the fields are gone: that is said already.
  const auto is_indented = [](const Finding& finding) { return finding.rule == &VX608; };
  if (std::ranges::any_of(findings.list, is_indented)) return;
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
  for (size_t number = 0; number < sections.size(); ++number) {
    const LayoutSection& section = sections[number];
    if (section.name.size() >= DICT_NAME_SIZE) Note(findings, VX603, findings.layout.HeaderSpan(number));
    if (SameName(section.name, "xx") || SameName(section.name, "list")) continue;
    CheckRepeated(findings, findings.layout.EntriesOf(section), number == catalog ? VX613 : VX614);
  }
  if (judged.dict == nullptr) return;
  CheckRepeatedSections(findings, *judged.dict);
  if (kind != FileKind::Dictionary) return;
  CheckCatalog(findings, *judged.dict);
  CheckArrays(findings);
}

}  // namespace vorlix::tool
