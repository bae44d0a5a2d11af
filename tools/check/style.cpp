#include "tools/check/style.h"

namespace vorlix::tool {

Finding& Note(Findings& findings, const Rule& rule, const Span& span, const std::string& text) {
  findings.list.push_back({&rule, span, text.empty() ? std::string(rule.title) : text, ""});
  return findings.list.back();
}

void CheckStyle(Judged& judged, FileKind kind, const Models& models) {
  if (!CheckBytes(judged.findings)) return SortByPlace(judged.findings);
  CheckLines(judged.findings, kind);
  if (kind != FileKind::Module) CheckSections(judged, kind);
  if (judged.dict != nullptr) CheckFields(judged, kind, models);
  SortByPlace(judged.findings);
}

}  // namespace vorlix::tool
