// UTF-8 is taken strictly: no overlong forms, no surrogates, nothing above U+10FFFF. Printable leaves out the control
// characters, those of U+0080 to U+009F included.
#include "tools/quoting.h"

#include <unistd.h>

#include <cstdint>

#include "tools/encoding.h"

namespace vorlix::tool {
namespace {

struct Character {
  size_t size = 0;  // bytes; 0: the text does not start with a character
  uint32_t code = 0;

  bool IsPrintable() const { return size != 0 && code >= 0x20 && (code < 0x7f || code >= 0xa0); }
};

Character FirstCharacter(std::string_view text) {
  const auto byte = [&](size_t k) { return static_cast<uint8_t>(text[k]); };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return {1, lead};
  const size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;
  if (size == 0 || size > text.size() || lead > 0xf4) return {};
  uint32_t code = lead & (0x7fU >> size);
  for (size_t k = 1; k < size; ++k) {
    if ((byte(k) & 0xc0U) != 0x80) return {};
    code = code << 6 | (byte(k) & 0x3fU);
  }
  const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  const bool surrogate = code >= 0xd800 && code < 0xe000;
  if (overlong || surrogate || code > 0x10ffff) return {};
  return {size, code};
}

void AppendHex(std::string& out, char byte) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  const auto value = static_cast<uint8_t>(byte);
  out += DIGITS[value >> 4];
  out += DIGITS[value & 15];
}

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

std::string_view QuotedForm(char c) {
  switch (c) {
    case '"': return "\\\"";
    case '\\': return "\\\\";
    case '$': return "\\$";
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: return {};
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

std::string QuoteWord(std::string_view text) {
  constexpr std::string_view PLAIN =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-_.,:;=/%&*()<>{}@^!?";
  const bool plain = !text.empty() && text.find_first_not_of(PLAIN) == std::string_view::npos;
  return plain && text != "=>" && text != "until" ? std::string(text) : Quote(text);
}

std::string Printable(std::string_view text) {
  std::string out;
  AppendShown(out, text, TerminalForm);
  return out;
}

std::string Hex(std::string_view bytes) {
  std::string out;
  for (const char byte : bytes) AppendHex(out, byte);
  return out;
}

}  // namespace vorlix::tool
