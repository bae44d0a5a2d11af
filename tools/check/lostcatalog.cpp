// Without a catalog at the top no section of a file has a dialog: each is refused for itself, and none of that is what
// its author has to mend.
#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "dll/base/text.h"
#include "dll/ini/inisyntax.h"
#include "tools/check/reading.h"
#include "tools/nearest.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view CATALOG = "catalog";

// A header of the catalog that is none: behind a byte order mark or blanks, or without its bracket.
bool IsBrokenHeader(std::string_view line) {
  constexpr std::string_view MARK = "\xef\xbb\xbf";
  if (line.starts_with(MARK)) line.remove_prefix(MARK.size());
  line = TrimStart(line);
  return line.starts_with('[') && StartsWithNoCase(TrimStart(line.substr(1)), CATALOG);
}

// The line of one, before the fields.
std::optional<size_t> FindBrokenHeader(const Layout& text) {
  for (size_t line = 0; line < text.LineCount(); ++line)
    if (IsBrokenHeader(text.Line(line)) && text.SectionAt(line) == Layout::NO_SECTION) return line;
  return {};
}

// The section whose name is nearly that of the catalog.
size_t FindMisspelt(const Layout& text) {
  constexpr std::array NAMES = {CATALOG};
  const auto is_meant = [&](const LayoutSection& section) { return !Nearest(section.name, NAMES).empty(); };
  const auto found = std::ranges::find_if(text.Sections(), is_meant);
  return found != text.Sections().end() ? static_cast<size_t>(found - text.Sections().begin()) : Layout::NO_SECTION;
}

// What is said of sections of this name as if they were fields.
void Forget(Findings& findings, std::string_view name) {
  const Layout& text = findings.layout;
  std::erase_if(findings.list, [&](const Finding& finding) {
    const size_t section = text.SectionOf(finding.span.line);
    return finding.rule->severity == Severity::Error && section != Layout::NO_SECTION &&
           SameName(text.Sections()[section].name, name);
  });
}

void ForgetMissingHandles(Findings& findings) {
  std::erase_if(findings.list, [](const Finding& finding) { return finding.rule == &VX302; });
}

Finding LostAt(const Span& span, const std::string& text, const std::string& remedy = "") {
  return {&VX303, span, text, remedy};
}

// Catalogs behind other sections, which are taken for fields; the first of them when there is none at the top.
bool ExplainMisplaced(Findings& findings) {
  const Layout& text = findings.layout;
  const bool has_catalog = text.Catalog() != Layout::NO_SECTION;
  bool is_found = false;
  for (size_t number = 0; number < text.Sections().size(); ++number) {
    if (!SameName(text.Sections()[number].name, CATALOG) || number == text.Catalog()) continue;
    if (!std::exchange(is_found, true)) Forget(findings, CATALOG);
    findings.list.push_back(has_catalog ? LostAt(text.HeaderSpan(number), "a second catalog is taken for a field",
                                                 "Move its lines into the first one.")
                                        : LostAt(text.HeaderSpan(number), "the catalog is not the first section",
                                                 "Put it before all other sections."));
  }
  return is_found;
}

}  // namespace

void ExplainLostCatalog(Findings& findings) {
  const Layout& text = findings.layout;
  const bool is_misplaced = ExplainMisplaced(findings);
  const auto is_about_handles = [](const Finding& finding) { return finding.rule == &VX302; };
  if (text.Catalog() != Layout::NO_SECTION || std::ranges::none_of(findings.list, is_about_handles)) return;
  ForgetMissingHandles(findings);
  if (is_misplaced) return;
  if (const std::optional<size_t> line = FindBrokenHeader(text)) {
    findings.list.push_back(LostAt({*line, 0, text.Line(*line).size()}, "this is no header of a catalog",
                                   "Begin the line with [catalog] and nothing before it."));
  } else if (const size_t section = FindMisspelt(text); section != Layout::NO_SECTION) {
    Forget(findings, text.Sections()[section].name);
    findings.list.push_back(LostAt(text.HeaderSpan(section), "there is no catalog", "did you mean [catalog]?"));
    findings.list.back().instead = CATALOG;
  } else {
    findings.list.push_back(LostAt({}, "there is no catalog"));
  }
}

}  // namespace vorlix::tool
