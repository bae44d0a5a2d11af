// Large results: what the server builds into its transfer buffer and the host fetches block by block.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "host/server.h"

namespace vorlix::host {

struct Transfer {
  int32_t code = 0;     // the result code of the dll_SendNext that ended the transfer; 0: the payload is complete
  std::string payload;  // without the buffer's own header
  int blocks = 0;       // fetched
};

/// Fetches the whole buffer that the last producer left (the locale description after start-up or dll_SetLocale, the
/// texts of dict_PackDX and dict_PackBufDX) with dll_SendNext, in blocks of `capacity` bytes. A code other than 0 means
/// that there was nothing to fetch (19) or that the capacity is too small (18). Throws what `call` throws, and
/// std::runtime_error when the blocks do not fit together. `take`, when there is one, gets each piece of the payload as
/// it comes, borrowed; by false it gets no more, and what remains is fetched and dropped.
Transfer FetchTransfer(const Caller& call, int32_t capacity = 32'000,
                       const std::function<bool(std::string_view piece)>& take = {});
inline Transfer FetchTransfer(Server& server, int32_t capacity = 32'000) {
  return FetchTransfer(std::bind_front(&Server::Call, &server), capacity);
}

}  // namespace vorlix::host
