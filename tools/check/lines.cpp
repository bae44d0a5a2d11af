// What is odd about the lines of a file, before anybody knows what they are about.
#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "dll/ini/ini.h"
#include "dll/ini/inisyntax.h"
#include "dll/shared/dictattr.h"
#include "dll/shared/mdffile.h"
#include "tools/check/style.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xef\xbb\xbf";

// The mark of UTF-16, or a zero beside most of the other bytes.
bool IsUtf16(std::string_view all) {
  const auto zeros = static_cast<size_t>(std::ranges::count(all, '\0'));
  return all.starts_with("\xff\xfe") || all.starts_with("\xfe\xff") || zeros * 3 > all.size();
}

// What has been judged stands in the list before anything is noted here.
class Lines {
 public:
  // `room` is that of a value.
  Lines(Findings& findings, size_t room)
      : findings_(findings), room_(room), has_zeros_(findings.layout.Text().find('\0') != std::string::npos) {
    for (size_t k = 0; k < findings.list.size(); ++k) {
      const Finding& finding = findings.list[k];
      if (finding.rule->severity == Severity::Error) errors_.emplace(finding.span.line, k);
      if (finding.rule == &VX303) lost_catalog_ = finding.span.line;
    }
  }

  void CheckLine(size_t number, std::string_view line, bool is_entry) {
    if (line.size() > INI_TEXT_SIZE - 1) Note(findings_, VX607, {number, INI_TEXT_SIZE - 1, line.size()});
    if (const size_t zero = has_zeros_ ? line.find('\0') : std::string_view::npos; zero != std::string_view::npos)
      Note(findings_, VX631, {number, zero, zero + 1});
    if (is_entry && !IsIniSpace(line.front())) return;
    const std::string_view inner = TrimStart(line);
    const Span whole = {number, line.size() - inner.size(), line.size()};
    if (inner.empty() || line.front() == ';' || line.front() == '#' || line.starts_with(BYTE_ORDER_MARK)) return;
    std::string_view name;
    if (EndsSection(line)) {
      if (!ParseHeader(line, name) && number != lost_catalog_) Note(findings_, VX609, whole);
    } else if (inner.front() == '[' && inner.find(']') != std::string_view::npos) {
      if (number != lost_catalog_) Note(findings_, VX608, whole);
    } else if (!is_entry && inner.front() != ';' && inner.front() != '#') {
      Note(findings_, VX611, whole);
    }
  }

  void CheckEntry(std::string_view line, const LayoutEntry& entry) {
    const Layout& text = findings_.layout;
    if (!entry.is_in_section) {
      const bool is_before = text.Sections().empty() || entry.line < text.Sections().front().line;
      if (is_before && !lost_catalog_) Note(findings_, VX610, text.NameSpan(entry));
      return;
    }
    if (entry.Name().size() >= DICT_NAME_SIZE) Note(findings_, VX603, text.NameSpan(entry));
    const Finding* const error = FindError(entry.line);
    const bool is_refused = error != nullptr && error->rule == &VX202;
    if (entry.Value().size() >= room_ && !is_refused)
      Note(findings_, VX602, {entry.line, text.ValueSpan(entry).begin + room_ - 1, text.ValueSpan(entry).end});
    CheckCut(line, entry);
  }

 private:
  // The error in a line; null for none.
  Finding* FindError(size_t line) {
    const auto found = errors_.find(line);
    return found != errors_.end() ? &findings_.list[found->second] : nullptr;
  }

  // A comment behind a value has a blank before it; what follows straight on was meant as part of the value.
  void CheckCut(std::string_view line, const LayoutEntry& entry) {
    const auto end = static_cast<size_t>(entry.Value().data() + entry.Value().size() - line.data());
    if (end >= line.size() || (line[end] != ';' && line[end] != '#')) return;
    const Span value = findings_.layout.ValueSpan(entry);
    const bool is_quoted = value.begin > 0 && (line[value.begin - 1] == '"' || line[value.begin - 1] == '\'');
    if (!is_quoted && (end == 0 || IsIniSpace(line[end - 1]) || entry.Value().empty())) return;
    const std::string fault = std::string("the value ends at the ") + line[end];
    if (Finding* const error = FindError(entry.line))
      error->remedy = fault + ", which no value can hold";
    else
      Note(findings_, VX601, {entry.line, end, end + 1}, fault);
  }

  Findings& findings_;
  size_t room_;
  bool has_zeros_;
  std::unordered_map<size_t, size_t> errors_;  // by line, where they stand in the list
  std::optional<size_t> lost_catalog_;         // the line of VX303, which may be odd in other ways too
};

}  // namespace

bool CheckBytes(Findings& findings) {
  const std::string_view all = findings.layout.Text();
  if (all.starts_with(BYTE_ORDER_MARK)) Note(findings, VX604, {0, 0, BYTE_ORDER_MARK.size()}).instead = "";
  const bool is_one_line = all.find('\n') == std::string_view::npos && all.find('\r') != std::string_view::npos;
  if (!is_one_line && !IsUtf16(all)) return true;
  // That the file is refused is said once.
  bool is_said = false;
  std::erase_if(findings.list, [&](const Finding& finding) {
    return finding.rule->severity != Severity::Error || std::exchange(is_said, true);
  });
  Note(findings, is_one_line ? VX606 : VX605, {});
  return false;
}

void CheckLines(Findings& findings, FileKind kind) {
  const size_t room = kind == FileKind::Module ? MODULE_VALUE_SIZE : DICT_VALUE_SIZE;
  Lines lines(findings, room);
  auto entry = findings.layout.Entries().begin();
  for (size_t number = 0; number < findings.layout.LineCount(); ++number) {
    const std::string_view line = findings.layout.Line(number);
    const bool is_entry = entry != findings.layout.Entries().end() && entry->line == number;
    lines.CheckLine(number, line, is_entry);
    if (is_entry) lines.CheckEntry(line, *entry++);
  }
}

}  // namespace vorlix::tool
