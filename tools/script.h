// Scripts: lines of calls and of a few statements around them, as docs/scripts.md describes them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dll/wire/functable.h"
#include "tools/words.h"

namespace vorlix::tool {

enum class Comparison { Equal, Unequal, Like };

/// "=", "!=" or "~", as scripts write it.
std::string_view OperatorText(Comparison comparison);

/// An expectation: the value at an address, a comparison, and a text.
struct Condition {
  std::string address;
  Comparison comparison = Comparison::Equal;
  Word expected;

  bool IsOfCode() const { return address == "code"; }
};

enum class Kind {
  Comment,  // a line without words
  Call,     // a function of the table
  Place,    // a call exactly as a host sends it
  Each,     // a call that is repeated, and the lines up to "end"
  Check,    // expectations alone
  Set,
  Xbuf,
  Fetch,
  Read,
  Write,
  Echo,
  Show,
  File,    // a file that stands in for another
  Clock,   // the time of day for the server
  Server,  // the environment of the server, before all else
};

struct Statement {
  Kind kind = Kind::Call;
  int line = 0;                            // from 1
  const FunctionInfo* function = nullptr;  // of Call and Each
  std::vector<Word> words;                 // arguments, without the function or the keyword
  std::vector<Condition> expected;         // behind "=>"
  std::vector<Condition> until;            // Each: all of them met end the loop
  std::vector<Statement> body;             // of Each
  std::string comment;                     // of Comment: its line without the blanks around it

  /// The first word, where the form of the statement says that it is a name.
  const std::string& NameToSet() const { return words.at(0).pieces.at(0).text; }
};

/// The statements of a script. Throws ToolError (Usage) for the first fault, as "NAME:LINE: what is wrong".
std::vector<Statement> ParseScript(std::string_view text, std::string_view name);

/// The variable that a word of "server" names, which loses all up to its "=". Throws ToolError (Usage) when it is none
/// of those that the language comes from.
std::string ParseVariable(Word& word);

/// A statement that is no call, as people write it.
struct StatementForm {
  std::string_view name;  // the word that it begins with
  std::string_view form;
  std::string_view sentence;  // what it does
};

std::vector<StatementForm> StatementForms();

/// Null for a word that no statement begins with.
const StatementForm* FindStatement(std::string_view name);

/// The place of a statement as messages begin: "NAME:LINE: "; nothing of what has no name.
std::string Place(std::string_view name, int line);

}  // namespace vorlix::tool
