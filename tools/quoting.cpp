#include "tools/quoting.h"

#include <unistd.h>

#include <cstdint>

#include "dll/base/quote.h"
#include "dll/base/text.h"
#include "tools/encoding.h"

namespace vorlix::tool {
namespace {

// Whether texts go to a terminal on which each byte is a character.
bool IsBytewise() {
  static const bool is_bytewise = [] {
    const std::string encoding = EncodingOf("");
    return isatty(STDOUT_FILENO) == 1 && (encoding.starts_with("ISO-8859") || encoding.starts_with("KOI8"));
  }();
  return is_bytewise;
}

Character FirstShown(std::string_view text) {
  return IsBytewise() ? Character{1, static_cast<uint8_t>(text[0])} : FirstCharacter(text);
}

// Appends the text; `special` gives the form of a character that is not to stand as it is, or an empty text.
template <class Special>
void AppendShown(std::string& out, std::string_view text, Special special) {
  while (!text.empty()) {
    const Character character = FirstShown(text);
    const size_t size = character.size == 0 ? 1 : character.size;
    if (const std::string_view form = special(text[0]); !form.empty()) {
      out += form;
    } else if (character.IsPrintable()) {
      out += text.substr(0, size);
    } else {
      for (const char byte : text.substr(0, size)) AppendHex(out += "\\x", byte);
    }
    text.remove_prefix(size);
  }
}

std::string_view TerminalForm(char c) { return c == '\n' ? "\n" : c == '\t' ? "\t" : std::string_view(); }

}  // namespace

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const size_t size = FirstCharacter(text).size;
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

std::string Quote(std::string_view text) {
  std::string out = "\"";
  AppendShown(out, text, QuotedForm);
  return out + '"';
}

std::string QuoteWord(std::string_view text) { return IsPlainWord(text) ? std::string(text) : Quote(text); }

std::string Printable(std::string_view text) {
  std::string out;
  AppendShown(out, text, TerminalForm);
  return out;
}

std::string PercentEncoded(std::string_view path) {
  constexpr std::string_view PLAIN = "/-._~";
  std::string encoded;
  for (const char c : path) {
    const bool is_plain =
        IsDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || PLAIN.find(c) != std::string_view::npos;
    if (is_plain)
      encoded += c;
    else
      AppendHex(encoded += '%', c);
  }
  return encoded;
}

std::string Hex(std::string_view bytes) {
  std::string out;
  for (const char byte : bytes) AppendHex(out, byte);
  return out;
}

}  // namespace vorlix::tool
