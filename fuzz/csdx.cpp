// Bytes as a large result: cut into blocks and put together again it is the same. Then bytes as the blocks and fields
// of a sender that may be wrong.
#include "dll/shared/csdx.h"
#include "fuzz/input.h"

namespace vorlix::fuzz {
namespace {

void SendAndReceive(std::string_view bytes, size_t room) {
  Require(CSDX_PackString(bytes) == 0, "a small text can be packed");
  CsdxPayload payload;
  std::string block(room, '\0');
  int32_t last = 0;
  for (int more = 1; more == 1;) {
    DllString text{int32_t(room), 0, block.data()};
    if (CSDX_SendNext(text, IntByReference(&last)) != RESULT_OK)
      return Require(room < 20 + 6 && last == 1, "blocks of 26 bytes are large enough");
    more = CSDX_ReceiveNext(payload, text.View());
    Require(more == (last == 0 ? 1 : 0), "both sides see the end");
  }
  Require(payload.View() == bytes, "what was sent arrives");
}

}  // namespace

void Run(Input input) {
  const uint8_t room = input.Byte();
  SendAndReceive(input.Rest(), room);
  CsdxReader reader{{}, input.Rest(), 0};
  OwnedText text;
  while (CSDX_ReadField(reader, text) > 0) continue;
  for (CsdxPayload payload; !input.Empty();) CSDX_ReceiveNext(payload, input.Until("\n"));
}

}  // namespace vorlix::fuzz
