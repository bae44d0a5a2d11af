// CSDX buffers: results larger than any one String, built as a whole and carried over in blocks.
//
// A buffer is text: «R1~», its total size in six digits and "~", then the payload of counted texts ("5~hello"), numbers
// ("12~") and raw bytes. There is one buffer for building and sending; a new one replaces it. A block is the offset of
// its first byte, "~", and the next bytes of the buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "dll/shared/text.h"
#include "hostif/dllifutil.h"

namespace vorlix {

inline constexpr int CSDX_REVISION = 1;
/// Stands behind every number and length.
inline constexpr char CSDX_SEPARATOR = '~';
/// A buffer must stay below this many bytes, for its size has six digits.
inline constexpr size_t CSDX_SIZE_LIMIT = 1'000'000;

// ---- Building -------------------------------------------------------------------------------------------------------
//
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

// ---- Reading --------------------------------------------------------------------------------------------------------

/// Reads fields one after the other from borrowed text.
struct CsdxReader {
  std::string_view field;                      // the field read last, without its separator
  std::optional<std::string_view> next_entry;  // what follows it; none after a failure
  char type_mark = 0;                          // of the counted field read last; 0 when it had none
};

/// Reads up to the next "~". Returns the field's length with the separator, or 0 for an empty or unfinished field.
int64_t CSDX_ReadToSep(CsdxReader& reader);

/// Reads the revision that a buffer starts with. Returns as CSDX_ReadToSep; 0 also when it is not CSDX_REVISION, which
/// is traced in the name of `operation`.
int64_t CSDX_ReadRevision(CsdxReader& reader, const char* operation);

/// Reads one counted field into a copy of its own. Returns the bytes consumed, 0 for a malformed or unfinished field,
/// -1 for no memory.
int64_t CSDX_ReadField(CsdxReader& reader, OwnedText& text);

/// What a receiver has collected of a buffer: its payload, without the header.
struct CsdxPayload {
  std::unique_ptr<char[]> bytes;  // `size` + 1 bytes, ending in NUL
  size_t size = 0;                // announced by the first block
  size_t received = 0;            // payload bytes that have arrived
  size_t offset = 0;              // bytes received, counted from the start of the sender's buffer

  std::string_view View() const { return {bytes.get(), received}; }
};

/// Takes one block. Returns 1 when more blocks follow, 0 when the payload is complete, -2 for a breach of the protocol
/// and -1 for no memory; both failures forget what was collected, and a next first block starts afresh.
int CSDX_ReceiveNext(CsdxPayload& payload, std::string_view block);

}  // namespace vorlix
