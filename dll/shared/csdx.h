// The CSDX buffer that is built and sent. There is one; a new one replaces it.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "dll/wire/csdx.h"
#include "hostif/dllifutil.h"

namespace vorlix {

// A buffer is built in two passes of the same calls: without memory they add up sizes, with memory they copy.

/// Forgets the buffer and all counters.
void CSDX_Reset();
/// Forgets the buffer; the counters stay.
void CSDX_Free();

void CSDX_PutHeader();
void CSDX_PutBytes(std::string_view bytes);
void CSDX_PutText(const char* text);
void CSDX_PutNumber(int32_t number);
void CSDX_PutField(std::string_view text);

/// Ends the sizing pass: takes memory for the counted size. False when the size reaches the limit or there is no
/// memory; no buffer is left then.
bool CSDX_Allocate();
/// Ends the writing pass: the buffer is ready for sending and reading from its start.
void CSDX_Rewind();

/// Runs both passes. `put_payload()` makes the same Put calls each time. False as CSDX_Allocate.
template <class PutPayload>
bool CSDX_Build(PutPayload put_payload) {
  CSDX_Reset();
  CSDX_PutHeader();
  put_payload();
  if (!CSDX_Allocate()) return false;
  CSDX_PutHeader();
  put_payload();
  CSDX_Rewind();
  return true;
}

/// Builds a buffer of raw bytes. Returns 0, or 1 when it cannot be allocated.
int32_t CSDX_PackString(std::string_view bytes);

/// The finished buffer, borrowed until the next call of this header; nothing when there is none.
std::optional<std::string_view> CSDX_Contents();

/// Writes the next block into `block`. Returns 0 with `last` saying whether the buffer is used up (it is released
/// then); RESULT_REFUSED without a buffer, `last` unchanged; RESULT_TOO_SHORT when `block` has no room for the offset
/// and 20 bytes, the buffer is released and `last` set.
int32_t CSDX_SendNext(DllString& block, IntByReference last);

}  // namespace vorlix
