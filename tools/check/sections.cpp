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

void CheckRepeated(Findings& findings, const LayoutSection& section, const Rule& rule) {
  const Layout& text = findings.layout;
  const std::span<const LayoutEntry> entries = text.EntriesOf(section);
  EarlierEntries earlier(entries);
  for (size_t k = 0; k < entries.size(); ++k) {
    const LayoutEntry* const first = earlier.Find(k);
    if (first == nullptr) continue;
    Note(findings, rule, text.NameSpan(entries[k]), std::string(entries[k].Name()) + " comes twice").related = {
        {findings.file, text.NameSpan(*first), "and here before"}};
  }
}

void CheckCatalog(Findings& findings, const Dict& dict) {
  const Layout& text = findings.layout;
  const size_t catalog = text.FindSection("catalog");
  // The lines below an indented header are dialogs now, and the fields are gone: that is said already.
  const auto is_indented = [](const Finding& finding) { return finding.rule == &VX608; };
  if (catalog == Layout::NO_SECTION || std::ranges::any_of(findings.list, is_indented)) return;
  for (const LayoutEntry& entry : text.EntriesOf(text.Sections()[catalog]))
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
  for (size_t number = 0; number < sections.size(); ++number) {
    const LayoutSection& section = sections[number];
    if (section.name.size() >= DICT_NAME_SIZE) Note(findings, VX603, findings.layout.HeaderSpan(number));
    if (SameName(section.name, "xx") || SameName(section.name, "list")) continue;
    CheckRepeated(findings, section, SameName(section.name, "catalog") ? VX613 : VX614);
  }
  if (kind != FileKind::Dictionary || judged.dict == nullptr) return;
  CheckCatalog(findings, *judged.dict);
  CheckArrays(findings);
}

}  // namespace vorlix::tool
