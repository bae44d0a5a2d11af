// Malformed blocks through the real process: each is answered, and no byte changes outside of what the call may write.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "dll/shared/functable.h"
#include "host/server.h"
#include "tests/support/server.h"

namespace vorlix::host {
namespace {

constexpr size_t SEGMENT_SIZE = 4096;
constexpr int BLOCKS = 2000;

// Functions that neither write files nor change the trace.
bool IsHarmless(std::string_view name) {
  return name != "dll_Debug" && name != "dll_SetDebugFlags" && !name.starts_with("ini_") &&
         !name.starts_with("dict_") && !name.starts_with("mdf_");
}

class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  // A well-formed call of a random function, then up to three words of it replaced.
  void Write(Block& block) {
    const FunctionInfo* function = nullptr;
    do function = &FUNCTIONS[Below(FUNCTIONS.size())];
    while (!IsHarmless(function->name));
    std::vector<Arg> args;
    for (const ArgInfo& info : function->Args()) args.push_back(MakeArg(info));
    PlaceCall(block, function->name, args);
    const size_t words = (DescriptorOffset(args.size() + 1) - offsetof(BlockHeader, arg_count)) / WORD_SIZE;
    for (size_t i = Below(4); i > 0; --i) {
      size_t offset = offsetof(BlockHeader, arg_count) + WORD_SIZE * Below(words);
      if (Below(4) == 0) offset = WORD_SIZE * (10 + Below(300));  // a length, or the bytes of an element
      block.Store(offset, WildWord(block));
    }
  }

 private:
  size_t Below(size_t limit) { return random_() % limit; }

  Arg MakeArg(const ArgInfo& info) {
    switch (info.type) {
      case DeclaredType::IntByValue: return Int(static_cast<int32_t>(Below(12)));
      case DeclaredType::IntByReference: return IntRef();
      case DeclaredType::RealByValue: return Real("12.5");
      case DeclaredType::RealByReference: return RealRef();
      case DeclaredType::zString: return Text("LANG=C,x");
      default: return TextRef("feld:N,10,2;", static_cast<int32_t>(Below(60)));
    }
  }

  int32_t WildWord(const Block& block) {
    switch (Below(6)) {
      case 0: return static_cast<int32_t>(random_());
      case 1: return static_cast<int32_t>(block.AddressOf(Below(SEGMENT_SIZE + 8)));
      case 2: return static_cast<int32_t>(block.AddressOf(SEGMENT_SIZE - Below(20)));
      case 3: return INT32_MAX - static_cast<int32_t>(Below(8));
      case 4: return -static_cast<int32_t>(Below(8));
      default: return static_cast<int32_t>(Below(70));
    }
  }

  std::mt19937 random_;
};

// Marks every byte that the call in `block` may change.
std::vector<bool> Writable(const Block& block) {
  std::vector<bool> writable(SEGMENT_SIZE, false);
  const auto mark = [&](size_t offset, size_t size) {
    for (size_t i = offset; i < std::min(offset + size, SEGMENT_SIZE); ++i) writable[i] = true;
  };
  mark(offsetof(BlockHeader, result_code), WORD_SIZE);
  const auto count = block.Load<int32_t>(offsetof(BlockHeader, arg_count));
  for (int32_t i = 1; i < std::min(count, MAX_ARGS + 1); ++i) {
    mark(DescriptorOffset(static_cast<size_t>(i)) + offsetof(ArgDescriptor, by_ref), WORD_SIZE);
    const ArgDescriptor desc = block.LoadDescriptor(static_cast<size_t>(i));
    const auto room = desc.host_class == HOST_STRING ? WORD_SIZE + static_cast<size_t>(std::max(desc.capacity, 0))
                      : desc.host_class == HOST_REAL ? sizeof(HostReal)
                                                     : WORD_SIZE;
    const int64_t elements = std::clamp<int64_t>(desc.count, 1, SEGMENT_SIZE);
    for (int64_t k = 0; k < elements; ++k) {
      const int64_t offset = int64_t{desc.address - block.HostBase()} + 4 * int64_t{desc.stride} * k;
      if (offset >= 0 && offset < int64_t{SEGMENT_SIZE}) mark(static_cast<size_t>(offset), room);
    }
  }
  return writable;
}

TEST(HostileBlocks, AreAnsweredAndChangeNothingElse) {
  ServerOptions options = test::TestServer();
  options.segment_size = SEGMENT_SIZE;
  auto server = std::make_unique<Server>(options);
  Mutator mutator(20021);
  int died = 0;
  for (int i = 0; i < BLOCKS; ++i) {
    server->AwaitIdle();
    Block block(server->Memory(), i % 2 == 0 ? 0U : 0xfffff000U);
    std::fill(server->Memory().begin(), server->Memory().end(), std::byte{0xa5});
    mutator.Write(block);
    const std::vector<std::byte> before(server->Memory().begin(), server->Memory().end());
    const std::vector<bool> writable = Writable(block);
    try {
      server->Ring();
    } catch (const ServerError& error) {
      ASSERT_EQ(error.Kind(), Failure::Died) << "block " << i << ": " << error.what();
      ASSERT_NE(error.StandardErrorText().find("fatal math error cc #-2\n"), std::string::npos)
          << "block " << i << ": " << error.what();
      server = std::make_unique<Server>(options);
      ++died;
      continue;
    }
    for (size_t k = 0; k < SEGMENT_SIZE; ++k)
      ASSERT_TRUE(writable[k] || server->Memory()[k] == before[k]) << "block " << i << " byte " << k;
  }
  EXPECT_LT(died, BLOCKS / 20);
  EXPECT_EQ(server->Call("dll_Revision", {OutText(10)}).args[0].TextAt(), "3.10");
}

}  // namespace
}  // namespace vorlix::host
