// Findings for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "tools/check/finding.h"

namespace vorlix::tool {

/// What a format is called on the command line, and its writer: the text for standard output of the findings of all
/// files.
struct ReportFormat {
  std::string_view name;
  std::string (*write)(const std::vector<Findings>& files);
};

/// text, json, sarif, github. Null for any other.
const ReportFormat* FindReportFormat(std::string_view name);

/// A finding and the line it is in, with the place marked, and what to do.
std::string ReportText(const Findings& file, const Finding& finding);

/// The place as people count, from 1: line, column, and the column behind its end.
struct ShownPlace {
  size_t line;
  size_t column;
  size_t end_column;
};
ShownPlace PlaceIn(const Layout& layout, const Span& span);

std::string_view SeverityWord(Severity severity);
std::string RemedyOf(const Finding& finding);

}  // namespace vorlix::tool
