// The locale description: all language conventions of the process as text, for the host and for the server itself.
#pragma once

#include <cstdint>

namespace vorlix {

/// Builds the description of the process's locale into the CSDX buffer, ready for sending, and applies it to the locale
/// in force. Returns 0, RESULT_NO_MEMORY, or RESULT_CORRUPT; a failure leaves no buffer.
int32_t BuildLocale();

}  // namespace vorlix
