#include "tools/player.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "host/csdx.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/items.h"
#include "tools/quoting.h"
#include "tools/values.h"

namespace vorlix::tool {
namespace {

// Longer texts are printed as a pattern of their first bytes.
constexpr size_t LONGEST_SHOWN = 72;

// A value as an expectation that it meets.
std::string Outcome(const Value& value) {
  const std::string name(value.name);
  if (value.text.size() <= LONGEST_SHOWN) return name + '=' + ShowValue(value);
  return name + '~' + Quote(value.text.substr(0, LONGEST_SHOWN) + '*');
}

std::string GivenWord(const Given& given) {
  if (!given.room) return QuoteWord(given.text);
  return (given.text.empty() ? "" : Quote(given.text)) + '[' + std::to_string(*given.room) + ']';
}

// What a value is instead of what was expected.
std::string Unmet(const Condition& condition, const std::string& text, const std::string& expected) {
  std::string is = condition.address + " is " + QuoteWord(text);
  switch (condition.comparison) {
    case Comparison::Equal: return is + ", not " + QuoteWord(expected);
    case Comparison::Unequal: return is + ", which it should not be";
    case Comparison::Like: return is + ", which is not like " + Quote(expected);
  }
  return is;
}

// What is printed comes in order with the traces that the server writes to the same terminal.
void Print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

bool Compare(Comparison comparison, const std::string& text, const std::string& expected) {
  switch (comparison) {
    case Comparison::Equal: return text == expected;
    case Comparison::Unequal: return text != expected;
    case Comparison::Like: return Matches(text, expected);
  }
  return false;
}

}  // namespace

Player::Player(host::Caller call, std::string_view name, const PlayOptions& options)
    : call_(std::move(call)), name_(name), options_(options) {
  const std::string directory = std::filesystem::path(name_).parent_path().string();
  scope_.Set("here", directory.empty() ? "." : directory);
}

void Player::Play(const std::vector<Statement>& statements) {
  try {
    for (const Statement& statement : statements) Run(statement);
  } catch (const std::exception& error) {
    throw ToolError(StatusOf(error), Place(name_, line_) + error.what());
  }
  if (failed_ == 0) return;
  throw ToolError(Status::OtherCode,
                  name_ + ": " + std::to_string(failed_) + (failed_ == 1 ? " line" : " lines") + " failed");
}

// Without a server there is nothing to go on with. A line of a loop is one of its rounds: the loop goes on.
void Player::Run(const Statement& statement) {
  try {
    Execute(statement);
  } catch (const ToolError& error) {
    if (!options_.keep_going) throw;
    std::fprintf(stderr, "vorlix: %s%s\n", Place(name_, line_).c_str(), error.what());
    ++failed_;
  }
}

void Player::Execute(const Statement& statement) {
  line_ = statement.line;
  switch (statement.kind) {
    case Kind::Call: RunCall(statement); break;
    case Kind::Each: RunEach(statement); break;
    case Kind::Comment: PrintLine(statement.comment); break;
    case Kind::Check: RunCheck(statement); break;
    case Kind::Set: scope_.Set(statement.NameToSet(), Text(statement, 1)); break;
    case Kind::Xbuf: RunXbuf(statement); break;
    case Kind::Fetch: RunFetch(statement); break;
    case Kind::Read: scope_.Set(statement.NameToSet(), ReadFile(Text(statement, 1))); break;
    case Kind::Write: WriteFile(Text(statement, 0), Text(statement, 1)); break;
    case Kind::Echo: RunEcho(statement); break;
    case Kind::Show: Print(ListItems(Text(statement, 0))); break;
  }
  if (statement.kind != Kind::Each) Expect(statement.expected);
}

void Player::RunCall(const Statement& statement) {
  const FunctionInfo& function = *statement.function;
  std::string line(function.name);
  std::vector<Given> given;
  for (const Word& word : statement.words) {
    given.push_back({scope_.Expand(word), word.room});
    line += ' ' + GivenWord(given.back());
  }
  const host::Result result = call_(function.name, MakeArguments(function, given));
  line += " => " + std::to_string(result.code);
  for (const Value& value : ReturnedValues(function, result)) {
    scope_.Set(value.name, value.text);
    line += ' ' + Outcome(value);
  }
  PrintLine(line);
  KeepCode(statement, function.name, result.code);
}

void Player::RunEach(const Statement& statement) {
  const auto meets = [this](const Condition& condition) { return Meets(condition); };
  for (size_t round = 1;; ++round) {
    line_ = statement.line;
    scope_.Set("round", std::to_string(round));
    scope_.Set("count", std::to_string(round - 1));
    RunCall(statement);
    Expect(statement.expected);
    if (std::ranges::all_of(statement.until, meets)) return;
    ++depth_;
    for (const Statement& inner : statement.body) Run(inner);
    --depth_;
  }
}

void Player::RunXbuf(const Statement& statement) {
  std::vector<host::XbufItem> items;
  for (size_t k = 1; k < statement.words.size(); ++k) {
    ItemWord made = ParseItem(statement.words[k]);
    made.item.value = scope_.Expand(made.value);
    items.push_back(std::move(made.item));
  }
  scope_.Set(statement.NameToSet(), host::WriteXbuf(items));
}

void Player::RunFetch(const Statement& statement) {
  const int32_t room = statement.words.size() == 1 ? DEFAULT_ROOM : statement.words[1].room.value_or(DEFAULT_ROOM);
  host::Transfer transfer = host::FetchTransfer(call_, room);
  const Value value{statement.NameToSet(), true, std::move(transfer.payload)};
  PrintLine("fetch " + std::string(value.name) + " [" + std::to_string(room) + "] => " + std::to_string(transfer.code) +
            ' ' + Outcome(value));
  scope_.Set(value.name, value.text);
  KeepCode(statement, "dll_SendNext", transfer.code);
}

// Only printed: the expectations of every statement are checked in the end.
void Player::RunCheck(const Statement& statement) {
  std::string line = "=>";
  for (const Condition& condition : statement.expected) {
    (line += ' ') += condition.address;
    line += OperatorText(condition.comparison);
    line += QuoteWord(scope_.Expand(condition.expected));
  }
  PrintLine(line);
}

void Player::RunEcho(const Statement& statement) {
  std::string line;
  for (const Word& word : statement.words) line += (line.empty() ? "" : " ") + scope_.Expand(word);
  Print(Printable(line) + '\n');
}

void Player::KeepCode(const Statement& statement, std::string_view function, int32_t code) {
  scope_.Set("code", std::to_string(code));
  const auto is_code = [](const Condition& condition) { return condition.address == "code"; };
  const auto ends_loop = [&](const Condition& condition) { return is_code(condition) && Meets(condition); };
  if (code != 0 && std::ranges::none_of(statement.expected, is_code) &&
      std::ranges::none_of(statement.until, ends_loop))
    throw ToolError(Status::OtherCode, std::string(function) + " answered " + std::to_string(code));
}

bool Player::Meets(const Condition& condition) {
  return Compare(condition.comparison, scope_.Find(condition.address), scope_.Expand(condition.expected));
}

void Player::Expect(const std::vector<Condition>& conditions) {
  for (const Condition& condition : conditions)
    if (!Meets(condition))
      throw ToolError(Status::OtherCode,
                      Unmet(condition, scope_.Find(condition.address), scope_.Expand(condition.expected)));
}

void Player::PrintLine(const std::string& line) const {
  if (!options_.quiet) Print((line.empty() ? "" : std::string(2 * depth_, ' ')) + line + '\n');
}

}  // namespace vorlix::tool
