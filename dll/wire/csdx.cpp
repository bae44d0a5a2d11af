// Fields, and the blocks that a host receives.
#include "dll/wire/csdx.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <new>

#include "dll/base/debug.h"
#include "dll/wire/numberfield.h"

namespace vorlix {
namespace {

// Larger than any number that a buffer can hold, and far from the end of the range.
constexpr int64_t HUGE_NUMBER = 1'000'000'000'000;

// The number that a text begins with, 0 when there is none, within plus and minus HUGE_NUMBER.
int64_t LeadingNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc::result_out_of_range) number = text.starts_with('-') ? -HUGE_NUMBER : HUGE_NUMBER;
  return std::clamp(number, -HUGE_NUMBER, HUGE_NUMBER);
}

Received Fail(CsdxPayload& payload, Received code) {
  payload = CsdxPayload();
  return code;
}

// Reads revision and total size of a first block and makes room for the payload. None when that succeeds.
std::optional<Received> StartPayload(CsdxPayload& payload, CsdxReader& reader) {
  payload = CsdxPayload();
  const std::optional<int64_t> revision_length = CSDX_ReadRevision(reader, "CSDX_ReceiveNext");
  if (!revision_length) return Received::Breach;
  const std::optional<int64_t> total_length = CSDX_ReadToSep(reader);
  if (!total_length) return Received::Breach;
  const int64_t header_length = *revision_length + *total_length;
  const int64_t size = LeadingNumber(reader.field) - header_length;
  if (size < 0) {
    DebugPrint(TRACE_DICT, 1, "CSDX_ReceiveNext(): length is inconsistent");
    return Received::Breach;
  }
  if (size < static_cast<int64_t>(CSDX_SIZE_LIMIT))
    payload.bytes.reset(new (std::nothrow) char[static_cast<size_t>(size) + 1]());
  if (payload.bytes == nullptr) {
    DebugPrint(TRACE_DICT, 1, "CSDX_ReceiveNext(): heap overflow (%ld)", size + 1);
    return Received::NoMemory;
  }
  payload.size = static_cast<size_t>(size);
  payload.offset = static_cast<size_t>(header_length);
  return {};
}

// A later block continues what has been received. None when it does.
std::optional<Received> CheckOffset(const CsdxPayload& payload, int64_t block_offset) {
  if (payload.bytes == nullptr) {
    DebugPrint(TRACE_DICT, 1, "CSDX_ReceiveNext(): csdxBuf == NULL");
    return Received::Breach;
  }
  if (block_offset != static_cast<int64_t>(payload.offset)) {
    DebugPrint(TRACE_DICT, 1, "CSDX_ReceiveNext(): offset is inconsistent (%ld, expected=%ld)", block_offset,
               static_cast<long>(payload.offset));
    return Received::Breach;
  }
  return {};
}

}  // namespace

std::optional<int64_t> CSDX_ReadToSep(CsdxReader& reader) {
  if (!reader.next_entry.has_value()) {
    DebugPrint(TRACE_DICT, 1, "CSDX_ReadToSep(): nextEntry == NULL");
    return {};
  }
  const std::string_view text = *reader.next_entry;
  constexpr std::string_view ENDS("~\0", 2);
  const size_t end = std::min(text.find_first_of(ENDS), text.size());
  reader.field = text.substr(0, end);
  if (end > 0 && end < text.size() && text[end] == FIELD_SEPARATOR) {
    reader.next_entry = text.substr(end + 1);
    return static_cast<int64_t>(end) + 1;
  }
  reader.next_entry.reset();
  DebugPrint(TRACE_DICT, 1, "CSDX_ReadToSep(): invalid entry [%.*s]", static_cast<int>(end), reader.field.data());
  return {};
}

std::optional<int64_t> CSDX_ReadRevision(CsdxReader& reader, const char* operation) {
  const std::optional<int64_t> length = CSDX_ReadToSep(reader);
  if (!length) return {};
  if (!reader.field.starts_with('R')) {
    DebugPrint(TRACE_DICT, 1, "%s(): missing revision number", operation);
    return {};
  }
  const int64_t revision = LeadingNumber(reader.field.substr(1));
  if (revision == CSDX_REVISION) return length;
  DebugPrint(TRACE_DICT, 1, "%s(): revision conflict (current=%d, received=%ld)", operation, CSDX_REVISION, revision);
  return {};
}

FieldRead CSDX_ReadField(CsdxReader& reader, OwnedText& text) {
  if (!CSDX_ReadToSep(reader)) return FieldRead::Malformed;
  std::string_view digits = reader.field;
  reader.type_mark = IsDigit(digits.front()) ? '\0' : digits.front();
  if (reader.type_mark != '\0') digits.remove_prefix(1);
  const int64_t length = std::max<int64_t>(LeadingNumber(digits), 0);
  const std::string_view source = *reader.next_entry;
  if (length < static_cast<int64_t>(CSDX_SIZE_LIMIT))
    text.reset(new (std::nothrow) char[static_cast<size_t>(length) + 1]());
  else
    text.reset();
  if (text == nullptr) {
    reader.next_entry.reset();
    DebugPrint(TRACE_DICT, 1, "CSDX_ReadField(): heap overflow (%ld)", length + 1);
    return FieldRead::NoMemory;
  }
  const std::string_view copied = BeforeNul(source.substr(0, static_cast<size_t>(length)));
  if (!copied.empty()) std::memcpy(text.get(), copied.data(), copied.size());
  if (static_cast<int64_t>(copied.size()) == length) {
    reader.next_entry = source.substr(copied.size());
    return FieldRead::Read;
  }
  DebugPrint(TRACE_DICT, 1, "CSDX_ReadField(): invalid entry [%s]", text.get());
  text.reset();
  reader = CsdxReader();
  return FieldRead::Malformed;
}

Received CSDX_ReceiveNext(CsdxPayload& payload, std::string_view block) {
  DebugEntry(TRACE_DICT);
  CsdxReader reader{{}, block, 0};
  if (!CSDX_ReadToSep(reader)) return Fail(payload, Received::Breach);
  const int64_t block_offset = LeadingNumber(reader.field);
  const bool first = block_offset == 0;
  const auto failure = first ? StartPayload(payload, reader) : CheckOffset(payload, block_offset);
  if (failure) return Fail(payload, *failure);

  const std::string_view data = *reader.next_entry;
  const size_t count = std::min(data.size(), payload.size - payload.received);
  if (count != 0) std::memcpy(payload.bytes.get() + payload.received, data.data(), count);
  payload.received += count;
  payload.offset += count;
  if (payload.received < payload.size) {
    DebugPrint(TRACE_DICT, 2, "CSDX_ReceiveNext(): got %s block (offset=%ld)", first ? "first" : "middle",
               block_offset);
    return Received::MoreFollow;
  }
  DebugPrint(TRACE_DICT, 2, "CSDX_ReceiveNext(): got %slast block (offset=%ld)", first ? "first&" : "", block_offset);
  if (count == data.size()) return Received::Complete;
  DebugPrint(TRACE_DICT, 1, "CSDX_ReceiveNext(): length is inconsistent");
  return Fail(payload, Received::Breach);
}

}  // namespace vorlix
