#include "tools/words.h"

#include "dll/base/text.h"
#include "tools/failure.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view BLANKS = " \t\r";

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsNameStart(char c) { return IsLetter(c) || c == '_'; }
bool IsNameCharacter(char c) { return IsNameStart(c) || IsDigit(c); }

// The length of the run at `from` whose first character meets `first` and whose others meet `next`; 0 when none does.
template <class First, class Next>
size_t RunLength(std::string_view text, size_t from, First first, Next next) {
  if (from >= text.size() || !first(text[from])) return 0;
  size_t end = from + 1;
  while (end < text.size() && next(text[end])) ++end;
  return end - from;
}

// The length of the address that the text starts with: as much of NAME.ITEM.3 as is there. Arguments have numbers.
size_t AddressLength(std::string_view text) {
  const size_t number = RunLength(text, 0, IsDigit, IsDigit);
  const size_t name = number != 0 ? number : RunLength(text, 0, IsNameStart, IsNameCharacter);
  if (name == 0 || name >= text.size() || text[name] != '.') return name;
  const size_t item = RunLength(text, name + 1, IsLetter, IsNameCharacter);
  if (item == 0) return name;
  const size_t end = name + 1 + item;
  if (end >= text.size() || text[end] != '.') return end;
  const size_t element = RunLength(text, end + 1, IsDigit, IsDigit);
  return element == 0 ? end : end + 1 + element;
}

class Splitter {
 public:
  explicit Splitter(std::string_view line) : rest_(line) {}

  std::vector<Word> Words() {
    std::vector<Word> words;
    while (SkipBlanks()) words.push_back(NextWord());
    return words;
  }

 private:
  bool AtBlank() const { return rest_.empty() || BLANKS.find(rest_[0]) != std::string_view::npos; }

  // Whether a word follows.
  bool SkipBlanks() {
    while (!rest_.empty() && AtBlank()) rest_.remove_prefix(1);
    return !rest_.empty() && rest_[0] != '#';
  }

  char Take() {
    const char c = rest_[0];
    rest_.remove_prefix(1);
    return c;
  }

  Word NextWord() {
    Word word;
    if (TakeRoom(word)) return word;
    bool bare = true;
    while (!AtBlank()) {
      const char c = rest_[0];
      if (c == '"' || c == '\\' || c == '$') bare = false;
      if (c == '"') {
        TakeQuoted(word);
        if (TakeRoom(word)) break;
      } else {
        TakeCharacter(word);
        if (bare) ++word.bare;
      }
    }
    return word;
  }

  // The text that characters are added to.
  static std::string& Text(Word& word) {
    if (word.pieces.empty() || word.pieces.back().is_name) word.pieces.emplace_back();
    return word.pieces.back().text;
  }

  // A room, when one ends the word here.
  bool TakeRoom(Word& word) {
    const size_t digits = rest_.starts_with('[') ? RunLength(rest_, 1, IsDigit, IsDigit) : 0;
    const size_t end = digits + 2;
    if (digits == 0 || end > rest_.size() || rest_[end - 1] != ']') return false;
    if (end < rest_.size() && BLANKS.find(rest_[end]) == std::string_view::npos) return false;
    word.room = ReadWhole<int32_t>(rest_.substr(1, digits));
    if (!word.room) Refuse("the room is too large");
    rest_.remove_prefix(end);
    return true;
  }

  void TakeQuoted(Word& word) {
    Take();
    Text(word);
    while (!rest_.starts_with('"')) {
      if (rest_.empty()) Refuse("the quote is not closed");
      TakeCharacter(word);
    }
    Take();
  }

  void TakeCharacter(Word& word) {
    const char c = Take();
    if (c == '\\') {
      Text(word) += TakeEscape();
    } else if (c == '$') {
      TakeName(word);
    } else {
      Text(word) += c;
    }
  }

  char TakeEscape() {
    if (rest_.empty()) Refuse("an escape is cut off");
    const char c = Take();
    switch (c) {
      case 'n': return '\n';
      case 'r': return '\r';
      case 't': return '\t';
      case 'x': return TakeHex();
      default: break;
    }
    if (IsLetter(c) || IsDigit(c)) Refuse(std::string("\\") + c + " is no escape");
    return c;
  }

  char TakeHex() {
    unsigned value = 0;
    const char* const begin = rest_.data();
    if (rest_.size() < 2 || std::from_chars(begin, begin + 2, value, 16).ptr != begin + 2)
      Refuse("\\x needs two hexadecimal digits");
    rest_.remove_prefix(2);
    return static_cast<char>(value);
  }

  void TakeName(Word& word) {
    const bool braced = rest_.starts_with('{');
    if (braced) Take();
    const size_t length = AddressLength(rest_);
    if (length == 0) Refuse("a $ stands before a name; write \\$ for the character");
    word.pieces.push_back({std::string(rest_.substr(0, length)), true});
    rest_.remove_prefix(length);
    if (braced && !rest_.starts_with('}')) Refuse("a ${ is not closed");
    if (braced) Take();
  }

  std::string_view rest_;
};

}  // namespace

bool Word::Is(std::string_view text) const {
  return pieces.size() == 1 && !room && pieces[0].text == text && bare == text.size();
}

std::string_view Word::Bare() const {
  return bare == 0 ? std::string_view() : std::string_view(pieces[0].text).substr(0, bare);
}

void Word::CutFront(size_t count) {
  pieces[0].text.erase(0, count);
  bare -= count;
}

std::vector<Word> SplitWords(std::string_view line) { return Splitter(line).Words(); }

size_t LastWordStart(std::string_view line) {
  size_t start = 0;
  bool is_quoted = false;
  for (size_t at = 0; at < line.size(); ++at) {
    if (line[at] == '\\') {
      ++at;
    } else if (line[at] == '"') {
      is_quoted = !is_quoted;
    } else if (!is_quoted && BLANKS.find(line[at]) != std::string_view::npos) {
      start = at + 1;
    }
  }
  return start;
}

bool IsName(std::string_view text) {
  return !text.empty() && RunLength(text, 0, IsNameStart, IsNameCharacter) == text.size();
}

bool IsAddress(std::string_view text) { return !text.empty() && AddressLength(text) == text.size(); }

}  // namespace vorlix::tool
