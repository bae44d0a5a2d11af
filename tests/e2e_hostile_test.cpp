// A host that writes on its block while the server works on a call: any answer is right, but the server reads nothing
// outside the segment, and it answers.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "dll/shared/functable.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

constexpr size_t SEGMENT_SIZE = 4096;
constexpr auto TIME_TO_RUN = std::chrono::seconds(3);

/// A well-formed call of some function that touches no files.
void PlaceAnyCall(Block& block, std::mt19937& random) {
  const FunctionInfo* function = nullptr;
  do function = &FUNCTIONS[random() % FUNCTIONS.size()];
  while (function->name.starts_with("dll_") || function->name.starts_with("ini_") || function->name == "mdf_Get" ||
         function->name.starts_with("dict_Open"));
  std::vector<Arg> args;
  for (const ArgInfo& info : function->Args()) {
    switch (info.type) {
      case DeclaredType::IntByValue: args.push_back(Int(static_cast<int32_t>(random() % 12))); break;
      case DeclaredType::IntByReference: args.push_back(IntRef()); break;
      case DeclaredType::RealByValue: args.push_back(Real("12.5")); break;
      case DeclaredType::RealByReference: args.push_back(RealRef()); break;
      case DeclaredType::zString: args.push_back(Text("%d.%m.%Y 31.12.1999")); break;
      default: args.push_back(TextRef("Xfeld~0~5~N,9;!$", 60));
    }
  }
  PlaceCall(block, function->name, args);
}

/// Replaces words of descriptors and elements for an instant, again and again, as long as it lives.
class Writer {
 public:
  explicit Writer(const Block& block) : thread_([this, block] { Run(block); }) {}
  ~Writer() {
    done_ = true;
    thread_.join();
  }

 private:
  void Run(Block block) {
    constexpr uint32_t EDGES[] = {0, 4093, 4096, 0x7ffffffe, 0x80000000, 0xfffffff8};
    std::mt19937 random(20021);
    while (!done_) {
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

  std::atomic<bool> done_ = false;
  std::thread thread_;
};

TEST(HostileHost, WritesOnItsBlockDuringCalls) {
  ServerOptions options = test::TestServer();
  options.segment_size = SEGMENT_SIZE;
  std::mt19937 random(20021);
  int answered = 0;
  int ended = 0;
  for (const auto end = Clock::now() + TIME_TO_RUN; Clock::now() < end;) {
    Server server(options);
    const Writer writer(server.GetBlock());
    try {
      for (; Clock::now() < end; ++answered) {
        server.AwaitIdle();
        Block block = server.GetBlock();
        PlaceAnyCall(block, random);
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
