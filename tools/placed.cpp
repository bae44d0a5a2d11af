#include "tools/placed.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "host/decimal.h"
#include "tools/failure.h"
#include "tools/quoting.h"

namespace vorlix::tool {
namespace {

constexpr std::string_view CLASS_LETTERS = " irt";  // at the places of the classes

// A real from its bytes; false when the text is something else.
bool ReadBytes(std::string_view text, HostReal& real) {
  if (!text.starts_with("0x") || text.size() != 2 + 2 * sizeof real) return false;
  std::array<uint8_t, sizeof real> bytes{};
  for (size_t k = 0; k < bytes.size(); ++k) {
    const char* const digits = text.data() + 2 + 2 * k;
    if (std::from_chars(digits, digits + 2, bytes.at(k), 16).ptr != digits + 2) return false;
  }
  std::memcpy(&real, bytes.data(), sizeof real);
  return true;
}

HostReal ReadReal(const std::string& text) {
  HostReal real;
  if (ReadBytes(text, real)) return real;
  const host::DecimalFault fault = host::ParseDecimal(text, real);
  if (fault != host::DecimalFault::None) Refuse(Quote(text) + ' ' + std::string(host::FaultText(fault)));
  return real;
}

host::Arg MakeFirst(const PlacedWord& word, const std::string& text) {
  switch (word.host_class) {
    case HOST_INTEGER: return host::Ints({});
    case HOST_REAL: return host::Reals({});
    default: break;
  }
  host::Arg arg = host::Texts({});
  arg.capacity = word.value.room.value_or(static_cast<int32_t>(text.size()));
  return arg;
}

void AddElement(host::Arg& arg, const std::string& text) {
  switch (arg.Class()) {
    case HOST_INTEGER: {
      const std::optional<int32_t> number = ReadWhole<int32_t>(text);
      if (!number) Refuse(Quote(text) + " is not a whole number of 32 bits");
      return std::get<0>(arg.values).push_back(*number);
    }
    case HOST_REAL: return std::get<1>(arg.values).push_back(ReadReal(text));
    default: return std::get<2>(arg.values).push_back(text);
  }
}

}  // namespace

PlacedWord ParsePlaced(const Word& word) {
  PlacedWord placed{.value = word};
  const std::string_view bare = word.Bare();
  const size_t letter = bare.starts_with('&') ? 1 : 0;
  if (bare.starts_with('+')) {
    if (word.room) Refuse("a further element has the room of the first");
    placed.is_further = true;
    placed.value.CutFront(1);
    return placed;
  }
  const size_t at = bare.size() < letter + 2 || bare[letter + 1] != ':' ? std::string_view::npos
                                                                        : CLASS_LETTERS.find(bare[letter], 1);
  if (at == std::string_view::npos)
    Refuse("a placed argument reads i:NUMBER, r:NUMBER or t:TEXT, with & for a variable");
  placed.host_class = static_cast<HostClass>(at);
  placed.by_ref = letter == 1;
  placed.value.CutFront(letter + 2);
  if (word.room && placed.host_class != HOST_STRING) Refuse("a number has no room");
  return placed;
}

std::vector<host::Arg> MakePlaced(const std::vector<Word>& words,
                                  const std::function<std::string(const Word&)>& expand) {
  std::vector<host::Arg> args;
  for (const Word& word : words) {
    const PlacedWord placed = ParsePlaced(word);
    const std::string text = expand(placed.value);
    if (placed.is_further && args.empty()) Refuse("there is no argument that '+' could go on");
    if (!placed.is_further) {
      args.push_back(MakeFirst(placed, text));
      args.back().by_ref = placed.by_ref;
    }
    AddElement(args.back(), text);
  }
  return args;
}

std::string ShowPlaced(const std::vector<host::Arg>& args,
                       const std::function<std::string(const std::string&)>& quote) {
  std::string line;
  for (const host::Arg& arg : args) {
    (line += arg.by_ref ? " &" : " ") += CLASS_LETTERS.at(static_cast<size_t>(arg.Class()));
    line += ':';
    for (size_t k = 0; k < arg.Count(); ++k) {
      if (k != 0) line += " +";
      switch (arg.Class()) {
        case HOST_INTEGER: line += std::to_string(arg.IntAt(k)); break;
        case HOST_REAL: line += host::FormatExactly(arg.RealAt(k)); break;
        default: line += quote(arg.TextAt(k)); break;
      }
      if (k == 0 && arg.Class() == HOST_STRING) line += '[' + std::to_string(arg.capacity) + ']';
    }
  }
  return line;
}

}  // namespace vorlix::tool
