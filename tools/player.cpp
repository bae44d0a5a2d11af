#include "tools/player.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "dll/wire/meanings.h"
#include "host/csdx.h"
#include "host/failure.h"
#include "tools/ending.h"
#include "tools/failure.h"
#include "tools/files.h"
#include "tools/hint.h"
#include "tools/items.h"
#include "tools/paint.h"
#include "tools/placed.h"
#include "tools/quoting.h"
#include "tools/signature.h"
#include "tools/tell.h"

namespace vorlix::tool {
namespace {

// Longer texts are printed as a pattern of their first bytes.
constexpr size_t LONGEST_SHOWN = 72;

// What is printed comes in order with the traces that the server writes to the same terminal.
void Print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

// What numbers mean that came back, as "19: no dialog ...; rc_p -2: No such file or directory".
std::string Meanings(const FunctionInfo& function, int32_t code, const std::vector<Value>& values) {
  std::string told;
  const auto tell = [&](std::string_view value, const std::string& number, const std::string& meaning) {
    if (meaning.empty()) return;
    if (!told.empty()) told += "; ";
    ((told += value) += value.empty() ? "" : " ") += number + ": " + meaning;
  };
  tell("", std::to_string(code), MeaningOf(function, CODE, code));
  for (const Value& value : values) tell(value.name, value.text, MeaningOf(function, value));
  return told;
}

// Whether a name that ends there is not taken further by what follows.
bool IsNameEnd(std::string_view text, size_t at) { return at == text.size() || text[at] == '/' || text[at] == '"'; }

bool Compare(Comparison comparison, const std::string& text, const std::string& expected) {
  switch (comparison) {
    case Comparison::Equal: return text == expected;
    case Comparison::Unequal: return text != expected;
    case Comparison::Like: return Matches(text, expected);
  }
  return false;
}

}  // namespace

Player::Player(Calls calls, std::string_view name, const PlayOptions& options)
    : calls_(std::move(calls)), name_(name), options_(options) {
  const std::string directory = std::filesystem::path(name_).parent_path().string();
  scope_.Set("here", directory.empty() ? "." : directory);
}

void Player::Confine(const std::string& unpacked) {
  unpacked_ = unpacked;
  scope_.Set("here", unpacked);
  stand_ins_.Confine(scope_.Find("tmp"), unpacked);
}

void Player::CheckReach(const std::string& path) const {
  if (!stand_ins_.IsAllowed(path))
    throw ToolError(Status::Usage, "the script of an archive reaches no file outside of it, such as " + path);
}

void Player::SetArguments(const std::vector<std::string>& arguments) {
  for (size_t k = 0; k < arguments.size(); ++k) scope_.Set(std::to_string(k + 1), arguments[k]);
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
    Tell(Place(name_, line_) + error.what());
    ++failed_;
  }
}

void Player::Execute(const Statement& statement) {
  EndIfSignalled();
  line_ = statement.line;
  switch (statement.kind) {
    case Kind::Call: RunCall(statement); break;
    case Kind::Place: RunPlace(statement); break;
    case Kind::Each: RunEach(statement); break;
    case Kind::Comment: PrintLine(Printable(statement.comment)); break;
    case Kind::Check: RunCheck(statement); break;
    case Kind::Set: SetValue(statement.NameToSet(), Text(statement, 1)); break;
    case Kind::Xbuf: RunXbuf(statement); break;
    case Kind::Fetch: RunFetch(statement); break;
    case Kind::Read: ReadValue(statement.NameToSet(), Text(statement, 1)); break;
    case Kind::Write: Write(Text(statement, 0), Text(statement, 1)); break;
    case Kind::Echo: RunEcho(statement); break;
    case Kind::File: RunFile(statement); break;
    case Kind::Clock: RunClock(statement); break;
    case Kind::Server: RunServer(statement); break;
    case Kind::Show: PrintOwn(ListItems(Text(statement, 0), calls_.to_outside)); break;
  }
  if (statement.kind != Kind::Each) Expect(statement.expected);
  if (statement.kind == Kind::Call || statement.kind == Kind::Place) NoteRefusedFile(statement);
}

void Player::RunCall(const Statement& statement) {
  const FunctionInfo& function = *statement.function;
  std::string line(function.name);
  std::vector<Given> given;
  for (const Word& word : statement.words) {
    given.push_back({scope_.Expand(word), word.room});
    line += ' ' + GivenWord(given.back());
  }
  PlaceCall(statement, std::move(line), function.name, function, MakeArguments(function, given));
}

void Player::RunPlace(const Statement& statement) {
  const std::string name = Text(statement, 0);
  const FunctionInfo* const function = FindFunction(name);
  const std::vector<Word> words(statement.words.begin() + 1, statement.words.end());
  std::vector<host::Arg> args = MakePlaced(words, [this](const Word& word) { return scope_.Expand(word); });
  const std::string shown = ShowPlaced(args, [this](const std::string& text) { return Shown(text, true); });
  if (function == nullptr) {
    unknown_name_ = name;
    unknown_.name = unknown_name_;
  }
  PlaceCall(statement, "place " + Shown(name) + shown, name, function != nullptr ? *function : unknown_,
            std::move(args));
}

void Player::PlaceCall(const Statement& statement, std::string line, std::string_view name,
                       const FunctionInfo& function, std::vector<host::Arg> args) {
  // Files have their names on this side.
  for (size_t k = 0; k < std::min(args.size(), function.arg_count); ++k)
    if (NamesFile(function.args.at(k)) && args[k].Class() == HOST_STRING) KeepName(args[k]);
  stand_ins_.Redirect(function, args);
  const bool has_all_args = args.size() == function.arg_count;
  try {
    result_ = calls_.place(name, args);
  } catch (const host::ServerError& error) {
    // The server goes on with the call: what comes later stands on it.
    const bool goes_on = error.Kind() == host::Failure::Interrupted || error.Kind() == host::Failure::Timeout;
    if (goes_on && options_.is_dialog) played_ += line + "  # nobody waited for the answer\n";
    throw;
  }
  called_ = &function;
  if (std::ranges::any_of(function.Args(), NamesFile)) refused_file_ = {};
  line += " => " + std::to_string(result_.code);
  const std::vector<Value> values = has_all_args ? ReturnedValues(function, result_) : std::vector<Value>();
  for (const Value& value : values) {
    scope_.Set(value.name, value.text);
    line += ' ' + Outcome(value);
  }
  PrintLine(line, Meanings(function, result_.code, values));
  if (options_.is_dialog) ShowMore(values);
  if (!options_.is_dialog) TellOfNothing(statement);
  KeepCode(statement, function, result_.code);
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
    for (const Statement& inner : statement.body) Run(inner);
  }
}

void Player::RunXbuf(const Statement& statement) {
  std::vector<host::XbufItem> items;
  for (size_t k = 1; k < statement.words.size(); ++k) {
    ItemWord made = ParseItem(statement.words[k]);
    made.item.value = scope_.Expand(made.value);
    items.push_back(std::move(made.item));
  }
  SetValue(statement.NameToSet(), host::WriteXbuf(items));
}

void Player::SetValue(const std::string& name, const std::string& text) {
  scope_.Set(name, text);
  PrintLine("set " + name + ' ' + Shown(text));
}

// A name that was converted for the server is converted back.
void Player::KeepName(host::Arg& arg) const {
  std::string& name = std::get<2>(arg.values).at(0);
  const bool was_full = arg.capacity == static_cast<int32_t>(name.size());
  name = calls_.to_outside(name);
  if (was_full) arg.capacity = static_cast<int32_t>(name.size());
}

void Player::ReadValue(const std::string& name, const std::string& path) {
  CheckReach(path);
  scope_.Set(name, ReadFile(calls_.to_outside(path)));
  PrintLine("read " + name + ' ' + Shown(path));
}

void Player::Write(const std::string& path, const std::string& text) {
  CheckReach(path);
  WriteFile(calls_.to_outside(path), text);
  PrintLine("write " + Shown(path) + ' ' + Shown(text));
}

void Player::RunFile(const Statement& statement) {
  const Word& what = statement.words[1];
  const std::string path = Text(statement, 0);
  const std::string text = Text(statement, 1);
  stand_ins_.Make(scope_.Find("tmp"), path, what, text);
  PrintLine("file " + Shown(path) + ' ' + (StandIns::IsKeyword(what) ? text : Shown(text, true)));
}

void Player::RunClock(const Statement& statement) {
  if (!calls_.set_clock) throw ToolError(Status::Usage, "the server here goes by the clock of the system");
  const std::string time = Text(statement, 0);
  calls_.set_clock(time);
  PrintLine("clock " + Shown(time, true));
}

// Whoever started the server has gone by it.
void Player::RunServer(const Statement& statement) {
  if (options_.is_dialog) throw ToolError(Status::Usage, "the server runs already; .lang changes its language");
  std::string line = "server";
  for (Word word : statement.words) {
    const std::string name = ParseVariable(word);
    line += ' ' + name + '=' + Shown(scope_.Expand(word));
  }
  PrintLine(line);
}

void Player::RunFetch(const Statement& statement) {
  const int32_t room = statement.words.size() == 1 ? DEFAULT_ROOM : statement.words[1].room.value_or(DEFAULT_ROOM);
  host::Transfer transfer = host::FetchTransfer(calls_.place, room);
  const Value value{statement.NameToSet(), true, std::move(transfer.payload)};
  const FunctionInfo& function = RequireFunction("dll_SendNext");
  called_ = &function;
  result_ = {};
  PrintLine("fetch " + std::string(value.name) + " [" + std::to_string(room) + "] => " + std::to_string(transfer.code) +
                ' ' + Outcome(value),
            Meanings(function, transfer.code, {}));
  scope_.Set(value.name, value.text);
  KeepCode(statement, function, transfer.code);
}

// What is not met is not printed. The script that is printed has no loops, and nothing to compare their rounds with.
void Player::RunCheck(const Statement& statement) {
  Expect(statement.expected);
  std::string line = "=>";
  bool is_of_loop = false;
  for (const Condition& condition : statement.expected) {
    is_of_loop = is_of_loop || condition.address == "round" || condition.address == "count";
    (line += ' ') += condition.address;
    line += OperatorText(condition.comparison);
    line += Shown(scope_.Expand(condition.expected));
  }
  PrintLine(is_of_loop ? "# " + line : line);
}

void Player::RunEcho(const Statement& statement) {
  std::string line;
  for (const Word& word : statement.words) line += (line.empty() ? "" : " ") + scope_.Expand(word);
  PrintOwn(Printable(calls_.to_outside(line)) + '\n');
}

void Player::KeepCode(const Statement& statement, const FunctionInfo& function, int32_t code) {
  scope_.Set("code", std::to_string(code));
  const auto ends_loop = [&](const Condition& condition) { return condition.IsOfCode() && Meets(condition); };
  const bool may_fail = options_.is_dialog && statement.kind != Kind::Each;  // a loop would not end
  if (code == 0 || may_fail || std::ranges::any_of(statement.expected, &Condition::IsOfCode) ||
      std::ranges::any_of(statement.until, ends_loop))
    return;
  throw ToolError(Status::OtherCode, std::string(function.name) + " answered " +
                                         InWords(std::to_string(code), MeaningOf(function, CODE, code)) + Why());
}

bool Player::Meets(const Condition& condition) {
  return Compare(condition.comparison, scope_.Find(condition.address), scope_.Expand(condition.expected));
}

// An item of an XBUF that is not there, for its field is not, is told with the reason.
void Player::Expect(const std::vector<Condition>& conditions) {
  try {
    for (const Condition& condition : conditions) static_cast<void>(scope_.Find(condition.address));
  } catch (const ToolError& error) {
    throw ToolError(error.GetStatus(), error.what() + Why());
  }
  for (const Condition& condition : conditions)
    if (!Meets(condition)) throw ToolError(Status::OtherCode, Unmet(condition) + Why());
}

// What a value is instead of what was expected.
std::string Player::Unmet(const Condition& condition) {
  const std::string text = scope_.Find(condition.address);
  const std::string expected = scope_.Expand(condition.expected);
  const auto number = ReadWhole<int32_t>(text);
  const std::string meaning = called_ != nullptr && number ? MeaningOf(*called_, condition.address, *number) : "";
  std::string is = condition.address + " is " + InWords(Shown(text), meaning);
  switch (condition.comparison) {
    case Comparison::Equal: return is + ", not " + Shown(expected);
    case Comparison::Unequal: return is + ", which it should not be";
    case Comparison::Like: return is + ", which is not like " + Quote(calls_.to_outside(expected));
  }
  return is;
}

// ---- What is printed ------------------------------------------------------------------------------------------------

std::string Player::Shown(const std::string& text, bool as_value) const {
  return WithNames(as_value ? Quote(calls_.to_outside(text)) : QuoteWord(calls_.to_outside(text)));
}

// Directories that have another name each time are printed by those of the script: its own, and that of an archive.
std::string Player::WithNames(std::string text) const {
  const auto name = [&](const std::string& directory, const std::string& as) {
    for (size_t at = 0; !directory.empty() && (at = text.find(directory, at)) != std::string::npos;)
      text.replace(at, directory.size(), IsNameEnd(text, at + directory.size()) ? '$' + as : "${" + as + '}');
  };
  name(unpacked_, "here");
  name(scope_.KnownScratch(), "tmp");
  return text;
}

std::string Player::GivenWord(const Given& given) const {
  if (!given.room) return Shown(given.text);
  return (given.text.empty() ? "" : Shown(given.text, true)) + '[' + std::to_string(*given.room) + ']';
}

// A value as an expectation that it meets.
std::string Player::Outcome(const Value& value) const {
  const std::string name(value.name);
  if (!value.is_text) return name + '=' + value.text;
  if (value.text.size() <= LONGEST_SHOWN) return name + '=' + Shown(value.text, true);
  return name + '~' + Quote(calls_.to_outside(value.text.substr(0, LONGEST_SHOWN) + '*'));
}

// What a terminal shows of a call besides its line.
void Player::ShowMore(const std::vector<Value>& values) {
  for (const Value& value : values)
    if (value.is_text && IsXbuf(value.text)) PrintOwn(ListItems(value.text, calls_.to_outside));
  if (const std::string why = Why(); !why.empty()) PrintOwn(why.substr(1) + '\n');
}

// ini_SetString answers 0 whatever came of it, and a file or a field that is not there is no failure of others: unless
// the line says what it expects, somebody has to.
void Player::TellOfNothing(const Statement& statement) const {
  const bool is_write = called_->name == "ini_SetString";
  const bool is_expected = !statement.expected.empty() || statement.kind == Kind::Each;
  if (is_expected && !is_write) return;
  const bool is_refused = IsFileRefused(*called_, result_);
  const std::string why = result_.code == 0 ? Why() : "";  // another is a failure of the line
  if (why.empty()) return;
  if (is_write && !is_expected) throw ToolError(Status::OtherCode, why.substr(3));
  const std::string told = is_refused ? Answer() + why : why.substr(3);
  Tell(Place(name_, line_) + told);
}

std::string Player::Why() const {
  if (called_ == nullptr) return "";
  // What refuses a dictionary has to do with dialogs, and nothing with lists.
  const bool follows = !refused_file_.family.empty() && called_->name.starts_with(refused_file_.family);
  return WithNames(calls_.reasons() + HintFor(calls_.ask, calls_.to_outside, *called_, result_) +
                   (follows ? refused_file_.told : ""));
}

std::string Player::Answer() const {
  return std::string(called_->name) + " answered " +
         Meanings(*called_, result_.code, ReturnedValues(*called_, result_));
}

void Player::NoteRefusedFile(const Statement& statement) {
  const bool was_told = statement.expected.empty();
  if (options_.is_dialog || was_told || !std::ranges::all_of(statement.expected, &Condition::IsOfCode)) return;
  if (!IsFileRefused(*called_, result_)) return;
  refused_file_ = {called_->name.substr(0, called_->name.find('_') + 1),
                   "\n  before that, " + Place(name_, line_) + Answer() + Why()};
}

void Player::PrintLine(const std::string& line, const std::string& comment) {
  if (options_.quiet) return;
  if (options_.is_dialog) played_ += line + (comment.empty() ? "" : "  # " + comment) + '\n';
  const std::string shown = Shorten(line);
  Print((line.starts_with('#') ? Dim(shown) : shown) + (comment.empty() ? "" : Dim("  # " + comment)) + '\n');
}

void Player::PrintOwn(const std::string& lines) {
  if (options_.quiet) return Print(lines);
  for (std::string_view rest = lines; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    const size_t size = line.find_last_not_of(" \t") + 1;
    PrintLine(size == 0 ? "#" : "# " + std::string(line.substr(0, size)));
  }
}

}  // namespace vorlix::tool
