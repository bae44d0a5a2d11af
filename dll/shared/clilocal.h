// Reading a locale description, the text in which host and server share the conventions of a language (see
// BuildLocale).
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorlix {

/// Parses the payload of a description into the locale in force. Returns 0, 1 when it is corrupt, 2 for no memory; both
/// failures leave its strings empty and its tables as they were.
int32_t GetLocaleInfo(const char* text, size_t length);

/// Applies the description in the CSDX buffer, without changing the buffer. Returns 0, RESULT_NO_MEMORY or
/// RESULT_CORRUPT.
int32_t SetClientLocale();

}  // namespace vorlix
