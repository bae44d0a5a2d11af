// Reading a locale description, the text in which host and server share the conventions of a language (see
// BuildLocale).
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostif/layout.h"

namespace vorlix {

enum class [[nodiscard]] LocaleInfo : int32_t{Ok = 0, Corrupt = 1, NoMemory = 2};

/// Parses the payload of a description into the locale in force. Both failures leave its strings empty and its tables
/// as they were.
LocaleInfo GetLocaleInfo(const char* text, size_t length);

/// Applies the description in the CSDX buffer, without changing the buffer. RESULT_OK, RESULT_NO_MEMORY or
/// RESULT_CORRUPT.
[[nodiscard]] ResultCode SetClientLocale();

}  // namespace vorlix
