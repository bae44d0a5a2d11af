// Parsing reads line by line: the words of a line, the tail behind "=>", the part behind "until", and then the
// statement by its first word. Everything that can be wrong without a server is found here, before the first call is
// placed.
#include "tools/script.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <span>

#include "tools/failure.h"
#include "tools/items.h"
#include "tools/nearest.h"
#include "tools/placed.h"
#include "tools/signature.h"

namespace vorlix::tool {
namespace {

constexpr size_t MANY = std::numeric_limits<size_t>::max();

struct Keyword : StatementForm {
  Kind kind;
  size_t least;  // words behind it
  size_t most;
  bool first_is_name;  // the first word is the name that the statement sets
};

// Loops are parsed by themselves.
constexpr std::array KEYWORDS = {
    Keyword{{"each", "each FUNCTION ARGUMENT... until EXPECTATION...", "Repeats a call, and the lines up to end"},
            Kind::Each,
            0,
            MANY,
            false},
    Keyword{{"end", "end", "Ends the lines that each repeats"}, Kind::Each, 0, 0, false},
    Keyword{{"set", "set NAME TEXT", "Keeps a text under a name"}, Kind::Set, 2, 2, true},
    Keyword{{"xbuf", "xbuf NAME ITEM=TEXT...", "Makes an XBUF"}, Kind::Xbuf, 1, MANY, true},
    Keyword{{"fetch", "fetch NAME, or fetch NAME [32000] for a room", "Fetches a whole large result"},
            Kind::Fetch,
            1,
            2,
            true},
    Keyword{{"read", "read NAME FILE", "Reads a whole file"}, Kind::Read, 2, 2, true},
    Keyword{{"write", "write FILE TEXT", "Writes a whole file"}, Kind::Write, 2, 2, false},
    Keyword{{"echo", "echo TEXT...", "Prints texts with blanks between them"}, Kind::Echo, 0, MANY, false},
    Keyword{{"show", "show XBUF", "Prints the items of an XBUF, one a line"}, Kind::Show, 1, 1, false},
    Keyword{{"place", "place FUNCTION ARGUMENT...", "Makes a call exactly as a host sends it"},
            Kind::Place,
            1,
            MANY,
            false},
    Keyword{
        {"file", "file PATH TEXT", "Has a file of its own stand in for the one at a path"}, Kind::File, 2, 2, false},
    Keyword{
        {"clock", "clock \"2026-11-23 22:07:57\"", "Sets the time of day for the server"}, Kind::Clock, 1, 1, false},
    Keyword{
        {"server", "server NAME=TEXT...", "Before all else: the language of the server"}, Kind::Server, 1, MANY, false},
};

// Loops in loops are parsed and run by recursion.
constexpr int DEEPEST_LOOP = 100;

// What is no function may be a statement with a slip.
void RequireNoKeywordMeant(std::string_view word) {
  if (FindFunction(word) != nullptr) return;
  std::vector<std::string_view> names;
  for (const Keyword& keyword : KEYWORDS) names.push_back(keyword.name);
  if (const std::string_view near = Nearest(word, names); !near.empty())
    Refuse("there is no statement '" + std::string(word) + "'; did you mean " + std::string(near) + '?');
}

struct Operator {
  std::string_view text;
  Comparison comparison;
};
constexpr std::array OPERATORS = {Operator{"!=", Comparison::Unequal}, Operator{"=", Comparison::Equal},
                                  Operator{"~", Comparison::Like}};

// The operator at a position of the text, or null.
const Operator* OperatorAt(std::string_view text, size_t at) {
  const auto stands_there = [&](const Operator& one) { return text.substr(at).starts_with(one.text); };
  const auto* const found = std::ranges::find_if(OPERATORS, stands_there);
  return found == OPERATORS.end() ? nullptr : found;
}

// The words up to the first one that is `mark`; `rest` becomes those behind it. None: all words, and no rest.
std::vector<Word> SplitAt(std::string_view mark, const std::vector<Word>& words, std::vector<Word>& rest) {
  const auto at = std::ranges::find_if(words, [&](const Word& word) { return word.Is(mark); });
  rest.assign(at == words.end() ? at : at + 1, words.end());
  if (at != words.end() && rest.empty()) Refuse("nothing is expected behind '" + std::string(mark) + "'");
  return {words.begin(), at};
}

Condition ParseCondition(const Word& word) {
  const std::string_view bare = word.Bare();
  for (size_t at = 1; at < bare.size(); ++at) {
    const Operator* const found = OperatorAt(bare, at);
    if (found == nullptr) continue;
    Condition condition{std::string(bare.substr(0, at)), found->comparison, word};
    if (!IsAddress(condition.address) || word.room) break;
    condition.expected.CutFront(at + found->text.size());
    return condition;
  }
  Refuse("an expectation reads NAME=TEXT, NAME!=TEXT or NAME~PATTERN, or is a result code");
}

// An expectation behind "=>": a condition, or an integer that stands for the result code.
Condition ParseExpectation(const Word& word) {
  const bool is_code = ReadWhole<int32_t>(word.Bare()) && word.Is(word.Bare());
  return is_code ? Condition{"code", Comparison::Equal, word} : ParseCondition(word);
}

std::vector<Condition> ParseExpectations(const std::vector<Word>& words) {
  std::vector<Condition> conditions;
  for (const Word& word : words) conditions.push_back(ParseExpectation(word));
  return conditions;
}

std::string_view BaseName(std::string_view address) { return address.substr(0, address.find('.')); }

// A call can be expected to give its code and its returned arguments, nothing else.
void RequireReturned(const FunctionInfo& function, const std::vector<Condition>& conditions) {
  for (const Condition& condition : conditions) {
    const std::string_view name = BaseName(condition.address);
    const auto is_it = [&](const ArgInfo& arg) { return arg.direction != Direction::In && arg.name == name; };
    if (name != "code" && std::ranges::none_of(function.Args(), is_it))
      Refuse("'" + std::string(name) + "' is not returned: " + Signature(function));
  }
}

// The variables that the server takes its language from.
constexpr std::array<std::string_view, 4> VARIABLES = {"ZENDLANG", "LANG", "LC_COLLATE", "LC_CTYPE"};

void RequireForm(const Keyword& keyword, std::span<const Word> words) {
  const bool fits = words.size() >= keyword.least && words.size() <= keyword.most;
  const bool named =
      !keyword.first_is_name || (!words.empty() && IsName(words[0].Bare()) && words[0].Is(words[0].Bare()));
  const auto has_its_room = [&](const Word& word) {
    if (keyword.kind == Kind::Place && &word != words.data()) return true;
    const bool takes_room = keyword.kind == Kind::Fetch && &word == words.data() + 1;
    return takes_room ? word.room && word.pieces.empty() : !word.room;
  };
  if (!fits || !named || !std::ranges::all_of(words, has_its_room)) Refuse("write it as: " + std::string(keyword.form));
  if (keyword.first_is_name && words[0].Is("tmp")) Refuse("tmp is the directory of the script, and cannot be set");
  if (keyword.kind == Kind::Xbuf)
    for (const Word& word : words.subspan(1)) ParseItem(word);
  if (keyword.kind == Kind::Place)
    for (const Word& word : words.subspan(1)) ParsePlaced(word);
  if (keyword.kind == Kind::Server)
    for (Word word : words) ParseVariable(word);
}

class Parser {
 public:
  Parser(std::string_view text, std::string_view name) : rest_(text), name_(name) {}

  // The statements up to the end of the text, or up to the "end" of the loop that begins in line `loop`.
  std::vector<Statement> Block(int loop) {
    std::vector<Statement> statements;
    while (!rest_.empty()) {
      try {
        const std::string_view line = NextLine();
        const std::vector<Word> words = SplitWords(line);
        if (IsEnd(words, loop)) return statements;
        statements.push_back(words.empty() ? CommentLine(line) : ParseLine(words));
        if (statements.back().kind == Kind::Server && has_begun_) Refuse("'server' stands before all other lines");
        has_begun_ = has_begun_ || statements.back().kind != Kind::Comment;
      } catch (const ToolError& error) {
        throw ToolError(error.GetStatus(), Place(name_, line_) + error.what());
      }
      Statement& last = statements.back();
      if (last.kind != Kind::Each) continue;
      if (++depth_ > DEEPEST_LOOP)
        throw ToolError(Status::Usage, Place(name_, line_) + "loops lie too deep in each other");
      last.body = Block(last.line);
      --depth_;
    }
    if (loop != 0) throw ToolError(Status::Usage, Place(name_, loop) + "the loop has no 'end'");
    return statements;
  }

 private:
  std::string_view NextLine() {
    const size_t end = std::min(rest_.find('\n'), rest_.size());
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    ++line_;
    return line;
  }

  static bool IsEnd(const std::vector<Word>& words, int loop) {
    if (words.empty() || !words[0].Is("end")) return false;
    if (loop == 0) Refuse("'end' without a loop");
    if (words.size() != 1) Refuse("'end' stands alone");
    return true;
  }

  static Statement CommentLine(std::string_view line) {
    Statement statement;
    statement.kind = Kind::Comment;
    const size_t begin = std::min(line.find('#'), line.size());
    statement.comment = line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin);
    return statement;
  }

  Statement ParseLine(const std::vector<Word>& line) const {
    Statement statement;
    statement.line = line_;
    std::vector<Word> tail;
    statement.words = SplitAt("=>", line, tail);
    for (const Word& word : statement.words)
      if (word.Bare().starts_with("=>"))
        Refuse("a blank stands behind =>, or quotes around '" + std::string(word.Bare()) + "'");
    statement.expected = ParseExpectations(tail);
    if (statement.words.empty()) {
      statement.kind = Kind::Check;
    } else {
      ParseFront(statement);
    }
    return statement;
  }

  // The keyword or the function with its words, which lose the first.
  static void ParseFront(Statement& statement) {
    std::vector<Word>& words = statement.words;
    const Word first = words[0];
    words.erase(words.begin());
    const auto is_it = [&](const Keyword& keyword) { return keyword.kind != Kind::Each && first.Is(keyword.name); };
    if (const auto* const keyword = std::ranges::find_if(KEYWORDS, is_it); keyword != KEYWORDS.end()) {
      statement.kind = keyword->kind;
      RequireForm(*keyword, words);
    } else if (first.Is("each")) {
      ParseEach(statement);
    } else {
      ParseCall(statement, first);
    }
  }

  static void ParseCall(Statement& statement, const Word& name) {
    if (!name.Is(name.Bare())) Refuse("a line begins with a function or a statement");
    RequireNoKeywordMeant(name.Bare());
    statement.function = &RequireFunction(name.Bare());
    GivenArguments(*statement.function, statement.words.size());
    RequireReturned(*statement.function, statement.expected);
  }

  static void ParseEach(Statement& statement) {
    std::vector<Word> until;
    statement.words = SplitAt("until", statement.words, until);
    if (statement.words.empty() || until.empty()) Refuse("write it as: " + std::string(FindStatement("each")->form));
    const Word function = statement.words[0];
    statement.words.erase(statement.words.begin());
    ParseCall(statement, function);
    statement.kind = Kind::Each;
    statement.until = ParseExpectations(until);
    RequireReturned(*statement.function, statement.until);
  }

  std::string_view rest_;
  std::string_view name_;
  int line_ = 0;
  int depth_ = 0;           // loops around the line
  bool has_begun_ = false;  // with more than comments
};

}  // namespace

std::string ParseVariable(Word& word) {
  const std::string_view bare = word.Bare();
  std::string name(bare.substr(0, bare.find('=')));
  if (name.size() == bare.size() || std::ranges::find(VARIABLES, name) == VARIABLES.end())
    Refuse("the server's language comes from ZENDLANG, LANG, LC_COLLATE and LC_CTYPE: server LANG=de_DE");
  word.CutFront(name.size() + 1);
  return name;
}

std::string_view OperatorText(Comparison comparison) {
  return std::ranges::find(OPERATORS, comparison, &Operator::comparison)->text;
}

std::vector<StatementForm> StatementForms() { return {KEYWORDS.begin(), KEYWORDS.end()}; }

const StatementForm* FindStatement(std::string_view name) {
  const auto* const found = std::ranges::find(KEYWORDS, name, &Keyword::name);
  return found != KEYWORDS.end() ? found : nullptr;
}

std::string Place(std::string_view name, int line) {
  if (name.empty()) return "";
  return std::string(name) + ":" + std::to_string(line) + ": ";
}

std::vector<Statement> ParseScript(std::string_view text, std::string_view name) { return Parser(text, name).Block(0); }

}  // namespace vorlix::tool
