#include "host/csdx.h"

#include <new>
#include <stdexcept>

#include "dll/wire/csdx.h"

namespace vorlix::host {

Transfer FetchTransfer(const Caller& call, int32_t capacity) {
  constexpr int MORE_BLOCKS = 1;
  constexpr int NO_MEMORY = -1;
  Transfer transfer;
  CsdxPayload payload;
  for (int more = MORE_BLOCKS; more == MORE_BLOCKS;) {
    const Result result = call("dll_SendNext", {OutText(capacity), IntRef()});
    transfer.code = result.code;
    if (result.code != 0) return transfer;
    ++transfer.blocks;
    more = CSDX_ReceiveNext(payload, result.args[0].TextAt());
    if (more == NO_MEMORY) throw std::bad_alloc();
    const bool last = result.args[1].IntAt() != 0;
    if (more < 0 || last != (more == 0))
      throw std::runtime_error("block " + std::to_string(transfer.blocks) +
                               " of the transfer does not fit the ones before");
  }
  transfer.payload = payload.View();
  return transfer;
}

}  // namespace vorlix::host
