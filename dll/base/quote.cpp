#include "dll/base/quote.h"

namespace vorlix {
namespace {

bool StandsForItself(char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\' && c != '$'; }

}  // namespace

bool Character::IsPrintable() const {
  if (size == 0 || code < 0x20 || (code >= 0x7f && code < 0xa0)) return false;
  const auto within = [this](uint32_t first, uint32_t last) { return code >= first && code <= last; };
  return code != 0xad && code != 0xfeff && !within(0x200b, 0x200f) && !within(0x2028, 0x202e) &&
         !within(0x2060, 0x206f);
}

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

void AppendHex(std::string& out, char byte) {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  const auto value = static_cast<uint8_t>(byte);
  out += DIGITS[value >> 4];
  out += DIGITS[value & 15];
}

void AppendQuoted(std::string& out, std::string_view text) {
  out += '"';
  while (!text.empty()) {
    size_t plain = 0;
    while (plain < text.size() && StandsForItself(text[plain])) ++plain;
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const Character character = FirstCharacter(text);
    const size_t size = character.size == 0 ? 1 : character.size;
    if (const std::string_view form = QuotedForm(text[0]); !form.empty()) {
      out += form;
    } else if (character.IsPrintable()) {
      out += text.substr(0, size);
    } else {
      for (const char byte : text.substr(0, size)) AppendHex(out += "\\x", byte);
    }
    text.remove_prefix(size);
  }
  out += '"';
}

bool IsPlainWord(std::string_view text) {
  constexpr std::string_view PLAIN =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+-_.,:;=/%&*()<>{}@^!?";
  return !text.empty() && text.find_first_not_of(PLAIN) == std::string_view::npos && text != "=>" && text != "until";
}

}  // namespace vorlix
