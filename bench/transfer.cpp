// A result of 900,000 bytes in blocks, beside a peer that lays the same bytes into the same memory by the same signals
// and does nothing else. Both sides of both copy every byte once; what packs the result is not measured.
#include <sys/shm.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/measure.h"
#include "bench/pingpong.h"
#include "host/csdx.h"
#include "host/server.h"

namespace {

using namespace vorlix;
using bench::Expect;

constexpr size_t RESULT = 900'000;
constexpr int RUNS = 101;
constexpr double GOAL = 1.20;

// ---- The peer: block after block of its bytes, into the segment behind two words -------------------------------------

struct BareBlock {
  int32_t capacity;  // set by this side
  int32_t length;    // 0 behind the last block
  char bytes[1];
};

BareBlock* bare = nullptr;
const std::string bytes(RESULT, 'x');
size_t sent = 0;

void SendNextBare() {
  const size_t count = std::min(RESULT - sent, static_cast<size_t>(bare->capacity));
  std::memcpy(bare->bytes, bytes.data() + sent, count);
  bare->length = static_cast<int32_t>(count);
  sent = count == 0 ? 0 : sent + count;
}

[[noreturn]] void RunPeer(const char* segment) {
  bare = static_cast<BareBlock*>(shmat(std::atoi(segment), nullptr, 0));
  bench::AnswerSignals(SendNextBare);
}

void FetchBare(bench::Peer& peer, std::string& result) {
  result.clear();
  do {
    peer.PingPong();
    result.append(bare->bytes, static_cast<size_t>(bare->length));
  } while (bare->length > 0);
}

// ---- The server: a call that is placed once and rung for each block --------------------------------------------------

class PlacedFetch {
 public:
  PlacedFetch(host::Server& server, int32_t capacity) : server_(server) {
    host::Block block = server.GetBlock();
    host::PlaceCall(block, "dll_SendNext", {host::OutText(capacity), host::IntRef()});
    text_ = block.OffsetOf(block.LoadDescriptor(1).address);
    last_ = block.OffsetOf(block.LoadDescriptor(2).address);
  }

  void Fetch(std::string& result) {
    const host::Block& block = server_.GetBlock();
    result.clear();
    do {
      Expect(server_.Ring() == 0, "dll_SendNext fails");
      const auto* text = reinterpret_cast<const char*>(server_.Memory().data() + text_ + WORD_SIZE);
      result.append(text, static_cast<size_t>(block.Load<int32_t>(text_)));
    } while (block.Load<int32_t>(last_) == 0);
  }

 private:
  host::Server& server_;
  size_t text_ = 0;
  size_t last_ = 0;
};

void Measure(int32_t capacity) {
  host::Segment segment(sizeof(BareBlock) + 65'536);
  bench::Peer peer(std::to_string(segment.Id()));
  bare = reinterpret_cast<BareBlock*>(segment.Memory().data());
  bare->capacity = capacity;
  host::Server server({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  std::string result;
  result.reserve(2 * RESULT);
  const auto pack = [&] { Expect(server.Call("dict_PackBufDX", {host::Text(bytes)}).code == 0, "no buffer"); };
  const auto fetch = [&] { PlacedFetch(server, capacity).Fetch(result); };
  const std::string what = "900 kB in blocks of " + std::to_string(capacity / 1024) + " KiB";
  const bench::Contender floor = {"the same bare blocks", [&] { FetchBare(peer, result); }, GOAL};
  bench::Compare(what, {{"", fetch, 0, pack}, floor}, 1, 1, RUNS);
  const bench::Contender whole = {"", [&] { host::FetchTransfer(server, capacity); }, 0, pack};
  bench::Compare(what + ", FetchTransfer", {whole, {floor.name, floor.round}}, 1, 1, RUNS);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2) RunPeer(argv[1]);
  bench::PinToOneCore();
  for (const int32_t capacity : {4096, 65'536}) Measure(capacity);
  return 0;
}
