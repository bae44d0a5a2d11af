#include "tools/check/fix.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>

#include "dll/ini/inireplace.h"
#include "tools/failure.h"

namespace vorlix::tool {
namespace {

// What takes the place of a part of a line.
struct Change {
  Span span;
  std::string text;
};

std::multimap<size_t, Change> ChangesOf(const Findings& findings) {
  std::multimap<size_t, Change> changes;
  for (const Finding& finding : findings.list)
    if (IsFixed(finding)) changes.emplace(finding.span.line, Change{finding.span, finding.instead.value_or("")});
  return changes;
}

std::string Changed(std::string line, std::vector<Change> changes) {
  std::ranges::sort(changes, std::greater(), [](const Change& change) { return change.span.begin; });
  for (const Change& change : changes)
    line.replace(change.span.begin, change.span.end - change.span.begin, change.text);
  return line;
}

void ReplaceFile(std::string path, const std::string& text) {
  const auto fail = [&] { throw ToolError(Status::OtherCode, "cannot write " + path); };
  if (!FollowLinks(path)) fail();
  const int old = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (old < 0) fail();
  FileReplacement replacement(path, old);
  replacement.Write(text);
  const bool is_written = replacement.Commit();
  close(old);
  if (!is_written) fail();
}

}  // namespace

// A name that was probably meant is not surely it, and what is inherited is put right in its own file.
bool IsFixed(const Finding& finding) {
  const bool is_guess = finding.rule->severity == Severity::Error || finding.rule == &VX650;
  return finding.instead.has_value() && !is_guess && finding.related.empty();
}

void FixFile(Findings& findings, bool only_show, Checker& checker) {
  const std::multimap<size_t, Change> changes = ChangesOf(findings);
  if (changes.empty()) return;
  std::string text = findings.layout.Text();
  // From the last line to the first, so that what is changed does not move what is still to be.
  for (auto at = changes.rbegin(); at != changes.rend();) {
    const size_t number = at->first;
    std::vector<Change> of_line;
    for (; at != changes.rend() && at->first == number; ++at) of_line.push_back(at->second);
    const std::string_view line = findings.layout.Line(number);
    const auto offset = static_cast<size_t>(line.data() - findings.layout.Text().data());
    text.replace(offset, line.size(), Changed(std::string(line), of_line));
  }
  const Judged again = checker.Check(findings.file, &text);
  if (findings.opens && !again.findings.opens)
    throw ToolError(Status::OtherCode, findings.file + ": the fixed file would not open any more; nothing is changed");
  if (only_show) {
    std::printf("--- %s\n+++ %s\n", findings.file.c_str(), findings.file.c_str());
    for (const auto& [number, change] : changes) {
      const std::string line(findings.layout.Line(number));
      std::printf("@@ -%zu +%zu @@\n-%s\n+%s\n", number + 1, number + 1, line.c_str(), Changed(line, {change}).c_str());
    }
    return;
  }
  ReplaceFile(findings.file, text);
  findings.list = again.findings.list;
}

}  // namespace vorlix::tool
