// What is odd about the lines of a file, before anybody knows what they are about.
#include <algorithm>

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

// The catalog that is missed may be one of the lines that are odd here.
bool IsLostCatalog(const Findings& findings, size_t number) {
  return std::ranges::any_of(
      findings.list, [=](const Finding& finding) { return finding.rule == &VX303 && finding.span.line == number; });
}

void CheckLine(Findings& findings, size_t number, std::string_view line, bool is_entry) {
  if (line.size() > INI_TEXT_SIZE - 1) Note(findings, VX607, {number, INI_TEXT_SIZE - 1, line.size()});
  if (const size_t zero = line.find('\0'); zero != std::string_view::npos)
    Note(findings, VX631, {number, zero, zero + 1});
  if (is_entry && !IsIniSpace(line.front())) return;
  const std::string_view inner = TrimStart(line);
  const Span whole = {number, line.size() - inner.size(), line.size()};
  if (inner.empty() || line.front() == ';' || line.front() == '#' || line.starts_with(BYTE_ORDER_MARK)) return;
  std::string_view name;
  if (EndsSection(line)) {
    if (!ParseHeader(line, name) && !IsLostCatalog(findings, number)) Note(findings, VX609, whole);
  } else if (inner.front() == '[' && inner.find(']') != std::string_view::npos) {
    if (!IsLostCatalog(findings, number)) Note(findings, VX608, whole);
  } else if (!is_entry && inner.front() != ';' && inner.front() != '#') {
    Note(findings, VX611, whole);
  }
}

// A comment behind a value has a blank before it; what follows straight on was meant as part of the value.
void CheckCut(Findings& findings, std::string_view line, const LayoutEntry& entry) {
  const auto end = static_cast<size_t>(entry.Value().data() + entry.Value().size() - line.data());
  if (end >= line.size() || (line[end] != ';' && line[end] != '#')) return;
  const Span value = findings.layout.ValueSpan(entry);
  const bool is_quoted = value.begin > 0 && (line[value.begin - 1] == '"' || line[value.begin - 1] == '\'');
  if (!is_quoted && (end == 0 || IsIniSpace(line[end - 1]) || entry.Value().empty())) return;
  const std::string fault = std::string("the value ends at the ") + line[end];
  const auto refused = std::ranges::find_if(findings.list, [&](const Finding& finding) {
    return finding.span.line == entry.line && finding.rule->severity == Severity::Error;
  });
  if (refused != findings.list.end())
    refused->remedy = fault + ", which no value can hold";
  else
    Note(findings, VX601, {entry.line, end, end + 1}, fault);
}

// `room` is that of a value.
void CheckEntry(Findings& findings, std::string_view line, const LayoutEntry& entry, size_t room) {
  const Layout& text = findings.layout;
  if (!entry.is_in_section) {
    const bool is_before = text.Sections().empty() || entry.line < text.Sections().front().line;
    if (is_before && std::ranges::none_of(findings.list, [](const Finding& one) { return one.rule == &VX303; }))
      Note(findings, VX610, text.NameSpan(entry));
    return;
  }
  if (entry.Name().size() >= DICT_NAME_SIZE) Note(findings, VX603, text.NameSpan(entry));
  const auto is_refused = [&](const Finding& finding) {
    return finding.rule == &VX202 && finding.span.line == entry.line;
  };
  if (entry.Value().size() >= room && std::ranges::none_of(findings.list, is_refused))
    Note(findings, VX602, {entry.line, text.ValueSpan(entry).begin + room - 1, text.ValueSpan(entry).end});
  CheckCut(findings, line, entry);
}

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
  auto entry = findings.layout.Entries().begin();
  for (size_t number = 0; number < findings.layout.LineCount(); ++number) {
    const std::string_view line = findings.layout.Line(number);
    const bool is_entry = entry != findings.layout.Entries().end() && entry->line == number;
    CheckLine(findings, number, line, is_entry);
    if (is_entry) CheckEntry(findings, line, *entry++, room);
  }
}

}  // namespace vorlix::tool
