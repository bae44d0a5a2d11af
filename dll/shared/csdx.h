// The CSDX buffer that is built and sent. There is one; a new one replaces it.
#pragma once

#include <cstdint>
#include <new>
#include <optional>
#include <string_view>

#include "dll/wire/csdx.h"
#include "hostif/dllifutil.h"

namespace vorlix {

/// Forgets the buffer.
void CSDX_Reset();

// ---- Building -------------------------------------------------------------------------------------------------------
// Each appends to the buffer that CSDX_Build is building, and throws std::bad_alloc.

void CSDX_PutBytes(std::string_view bytes);
void CSDX_PutNumber(int32_t number);
void CSDX_PutField(std::string_view text);

/// Begins a buffer, and ends it with its total size in the header: ready for sending, and for reading from its start.
/// False when the size reaches the limit; no buffer is left then.
void CSDX_PutHeader();
[[nodiscard]] bool CSDX_Finish();

/// Builds a buffer with the payload that `put_payload()` puts. False when its size reaches the limit or there is no
/// memory for it; no buffer is left then.
template <class PutPayload>
[[nodiscard]] bool CSDX_Build(PutPayload put_payload) {
  CSDX_Reset();
  try {
    CSDX_PutHeader();
    put_payload();
    return CSDX_Finish();
  } catch (const std::bad_alloc&) {
    CSDX_Reset();
    return false;
  }
}

/// Builds a buffer of raw bytes. False as CSDX_Build, which has been traced.
[[nodiscard]] bool CSDX_PackString(std::string_view bytes);

// ---- Sending --------------------------------------------------------------------------------------------------------

/// The finished buffer, borrowed until the next call of this header; nothing when there is none.
std::optional<std::string_view> CSDX_Contents();

/// What came of a block. Behind the last one, and where `block` has no room for the offset and 20 bytes, the buffer is
/// released.
enum class [[nodiscard]] Sent{MoreFollow, Last, NoBuffer, NoRoom};

/// Writes the next block of the buffer into `block`.
Sent CSDX_SendNext(DllString& block);

}  // namespace vorlix
