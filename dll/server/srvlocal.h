// The locale description: all language conventions of the process as text, for the host and for the server itself.
#pragma once

#include "hostif/layout.h"

namespace vorlix {

/// Builds the description of the process's locale into the CSDX buffer, ready for sending, and applies it to the locale
/// in force. RESULT_OK, RESULT_NO_MEMORY, or RESULT_CORRUPT; a failure leaves no buffer.
[[nodiscard]] ResultCode BuildLocale();

}  // namespace vorlix
