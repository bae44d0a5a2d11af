// Bytes as a large result: cut into blocks and put together again it is the same. Then bytes as the blocks and fields
// of a sender that may be wrong.
#include "dll/shared/csdx.h"
#include "fuzz/input.h"

namespace vorlix::fuzz {
namespace {

void SendAndReceive(std::string_view bytes, size_t room) {
  Require(CSDX_PackString(bytes), "a small text can be packed");
  CsdxPayload payload;
  std::string block(room, '\0');
  for (Received received = Received::MoreFollow; received == Received::MoreFollow;) {
    DllString text{int32_t(room), 0, block.data()};
    const Sent sent = CSDX_SendNext(text);
    if (sent == Sent::NoRoom) return Require(room < 20 + 6, "blocks of 26 bytes are large enough");
    received = CSDX_ReceiveNext(payload, text.View());
    Require(received == (sent == Sent::MoreFollow ? Received::MoreFollow : Received::Complete),
            "both sides see the end");
  }
  Require(payload.View() == bytes, "what was sent arrives");
}

}  // namespace

void Run(Input input) {
  const uint8_t room = input.Byte();
  SendAndReceive(input.Rest(), room);
  CsdxReader reader{{}, input.Rest(), 0};
  OwnedText text;
  while (CSDX_ReadField(reader, text) == FieldRead::Read) continue;
  for (CsdxPayload payload; !input.Empty();) static_cast<void>(CSDX_ReceiveNext(payload, input.Until("\n")));
}

}  // namespace vorlix::fuzz
