#include "host/csdx.h"

#include <new>
#include <stdexcept>

#include "dll/wire/csdx.h"

namespace vorlix::host {

Transfer FetchTransfer(const Caller& call, int32_t capacity, const std::function<bool(std::string_view piece)>& take) {
  Transfer transfer;
  CsdxPayload payload;
  bool is_taken = static_cast<bool>(take);
  for (Received received = Received::MoreFollow; received == Received::MoreFollow;) {
    const Result result = call("dll_SendNext", {OutText(capacity), IntRef()});
    transfer.code = result.code;
    if (result.code != 0) return transfer;
    ++transfer.blocks;
    const size_t before = payload.received;
    received = CSDX_ReceiveNext(payload, result.args[0].TextAt());
    if (received == Received::NoMemory) throw std::bad_alloc();
    const bool last = result.args[1].IntAt() != 0;
    if (received == Received::Breach || last != (received == Received::Complete))
      throw std::runtime_error("block " + std::to_string(transfer.blocks) +
                               " of the transfer does not fit the ones before");
    is_taken = is_taken && take(payload.View().substr(before));
  }
  transfer.payload = payload.View();
  return transfer;
}

}  // namespace vorlix::host
