// A host that writes on its block while the server works on a call: any answer is right, but the server reads nothing
// outside the segment, and it answers.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "host/server.h"
#include "tests/support/scripts.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

constexpr size_t SEGMENT_SIZE = 4096;
constexpr auto TIME_TO_RUN = std::chrono::seconds(3);

// The calls of all scripts that touch no files and close no dictionaries. What they take and give is cut to what the
// segment has room for.
std::vector<std::pair<std::string, std::vector<Arg>>> HarmlessCalls() {
  std::vector<std::pair<std::string, std::vector<Arg>>> calls;
  Server server(test::TestServer());
  test::PlayScripts([&](std::string_view name, const std::vector<Arg>& args) {
    if (!name.starts_with("dll_") && !name.starts_with("ini_") && name != "mdf_Get" && !name.starts_with("dict_Open") &&
        !name.starts_with("dict_Close"))
      calls.emplace_back(name, args);
    return server.Call(name, args);
  });
  for (auto& [name, args] : calls)
    for (Arg& arg : args)
      if (arg.Class() == HOST_STRING) arg = TextRef(arg.TextAt().substr(0, 200), 200);
  return calls;
}

// Replaces words of descriptors and elements for an instant, again and again.
void KeepWriting(const std::stop_token& stop, Block block) {
  constexpr uint32_t EDGES[] = {0, 4093, 4096, 0x7ffffffe, 0x80000000, 0xfffffff8};
  std::mt19937 random(20021);
  while (!stop.stop_requested()) {
    const size_t offset = offsetof(BlockHeader, arg_count) + WORD_SIZE * (random() % 120);
    const auto before = block.Load<uint32_t>(offset);
    switch (random() % 4) {
      case 0: block.Store(offset, block.AddressOf(sizeof(BlockHeader) + random() % SEGMENT_SIZE)); break;
      case 1: block.Store(offset, EDGES[random() % std::size(EDGES)]); break;
      default: block.Store(offset, static_cast<uint32_t>(random() % 256)); break;
    }
    for (auto wait = random() % 64; wait > 0; --wait) std::atomic_signal_fence(std::memory_order_seq_cst);
    block.Store(offset, before);  // so that most calls come as far as their function
  }
}

TEST(HostileHost, WritesOnItsBlockDuringCalls) {
  const auto calls = HarmlessCalls();
  ServerOptions options = test::TestServer();
  options.segment_size = SEGMENT_SIZE;
  std::mt19937 random(20021);
  int answered = 0;
  int ended = 0;
  for (const auto end = Clock::now() + TIME_TO_RUN; Clock::now() < end;) {
    Server server(options);
    server.Call("dict_OpenModel", {Text("MUSTER"), Text(VORLIX_EXAMPLES "/dict/muster.dic"), IntRef()});
    server.Call("dict_Open", {Text("KUNDEN"), Text(VORLIX_EXAMPLES "/dict/kunden.dic"), Int(1), IntRef()});
    const std::jthread writer(KeepWriting, server.GetBlock());
    try {
      for (; Clock::now() < end; ++answered) {
        server.AwaitIdle();
        Block block = server.GetBlock();
        const auto& [name, args] = calls[random() % calls.size()];
        PlaceCall(block, name, args);
        server.Ring();
      }
    } catch (const ServerError& error) {  // a host real that was marked as invalid ends the server as it shall
      ASSERT_NE(error.StandardErrorText().find("fatal math error cc #-2\n"), std::string::npos) << error.what();
      ++ended;
    }
  }
  EXPECT_GT(answered, 100 * (ended + 1));
}

}  // namespace
}  // namespace vorlix::host
