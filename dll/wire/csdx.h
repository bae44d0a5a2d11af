// The text format of CSDX buffers, as it is read on either side: results larger than any one String, carried over in
// blocks.
//
// A buffer is «R1~», its total size in six digits and "~", then the payload of counted texts ("5~hello"), numbers
// ("12~") and raw bytes. A block is the offset of its first byte, "~", and the next bytes of the buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "dll/base/text.h"

namespace vorlix {

inline constexpr int CSDX_REVISION = 1;
/// A buffer must stay below this many bytes, for its size has six digits.
inline constexpr size_t CSDX_SIZE_LIMIT = 1'000'000;

/// Reads fields one after the other from borrowed text.
struct CsdxReader {
  std::string_view field;                      // the field read last, without its separator
  std::optional<std::string_view> next_entry;  // what follows it; none after a failure
  char type_mark = 0;                          // of the counted field read last; 0 when it had none
};

/// Reads up to the next "~". Returns the field's length with the separator; none for an empty or unfinished field.
[[nodiscard]] std::optional<int64_t> CSDX_ReadToSep(CsdxReader& reader);

/// Reads the revision that a buffer starts with. Returns as CSDX_ReadToSep; none also when it is not CSDX_REVISION,
/// which is traced in the name of `operation`.
[[nodiscard]] std::optional<int64_t> CSDX_ReadRevision(CsdxReader& reader, const char* operation);

enum class [[nodiscard]] FieldRead{Read, Malformed, NoMemory};

/// Reads one counted field into a copy of its own. Malformed is also one that is not finished. The grammar has it for
/// buffers with fields; none that is received now is read by it.
FieldRead CSDX_ReadField(CsdxReader& reader, OwnedText& text);

/// What a receiver has collected of a buffer: its payload, without the header.
struct CsdxPayload {
  std::unique_ptr<char[]> bytes;  // `size` + 1 bytes, ending in NUL
  size_t size = 0;                // announced by the first block
  size_t received = 0;            // payload bytes that have arrived
  size_t offset = 0;              // bytes received, counted from the start of the sender's buffer

  std::string_view View() const { return {bytes.get(), received}; }
};

/// What a block brought. The failures forget what was collected, and a next first block starts afresh.
enum class [[nodiscard]] Received : int32_t{
    Complete = 0, MoreFollow = 1, NoMemory = -1,
    Breach = -2,  // of the protocol
};

/// Takes one block.
Received CSDX_ReceiveNext(CsdxPayload& payload, std::string_view block);

}  // namespace vorlix
