#include "tools/textencoding.h"

#include "tools/quoting.h"

namespace vorlix::tool {

TextEncoding EncodingOfText(std::string_view text) { return IsUtf8(text) ? TextEncoding::Utf8 : TextEncoding::Latin1; }

std::string Encode(const std::string& text, TextEncoding& encoding) {
  if (encoding == TextEncoding::Utf8) return text;
  std::string encoded;
  for (size_t at = 0; at < text.size(); ++at) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
      encoded += text[at];
    } else if (lead <= 0xc3 && at + 1 < text.size()) {
      encoded += static_cast<char>((lead & 3U) << 6 | (static_cast<unsigned char>(text[++at]) & 0x3fU));
    } else {
      encoding = TextEncoding::Utf8;
      return text;
    }
  }
  return encoded;
}

std::string Decode(std::string_view text, TextEncoding encoding) {
  if (encoding == TextEncoding::Utf8) return std::string(text);
  std::string decoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      decoded += c;
    } else {
      decoded += static_cast<char>(0xc0 | byte >> 6);
      decoded += static_cast<char>(0x80 | (byte & 0x3f));
    }
  }
  return decoded;
}

}  // namespace vorlix::tool
