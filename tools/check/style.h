// What the server takes without a word and an author will wonder about.
#pragma once

#include "tools/check/judge.h"

namespace vorlix::tool {

/// Adds what there is to warn of to the findings of a file that has been judged, and puts all in the order of places.
void CheckStyle(Judged& judged, FileKind kind, const Models& models);

// Its parts. They add to the findings in any order; CheckFields needs the dictionary.
/// False when nothing else is worth saying of the file: it is written in a way that the server does not read.
bool CheckBytes(Findings& findings);
void CheckLines(Findings& findings, FileKind kind);
void CheckSections(Judged& judged, FileKind kind);
void CheckFields(Judged& judged, FileKind kind, const Models& models);
void CheckPaths(Findings& findings);

/// Adds a finding; its text is the rule's title unless something better is known.
Finding& Note(Findings& findings, const Rule& rule, const Span& span, const std::string& text = "");

}  // namespace vorlix::tool
