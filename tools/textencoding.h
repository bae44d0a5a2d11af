// The encodings that files are written in: UTF-8, or ISO 8859-1 for all else.
#pragma once

#include <string>
#include <string_view>

namespace vorlix::tool {

enum class TextEncoding { Utf8, Latin1 };

/// Valid UTF-8 is that, any other text ISO 8859-1.
TextEncoding EncodingOfText(std::string_view text);

/// A text in UTF-8 in that encoding, and back. Characters that ISO 8859-1 does not have leave it in UTF-8.
std::string Encode(const std::string& text, TextEncoding& encoding);
std::string Decode(std::string_view text, TextEncoding encoding);

}  // namespace vorlix::tool
