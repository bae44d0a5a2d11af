#include "host/call.h"

#include <algorithm>
#include <stdexcept>

#include "host/decimal.h"

namespace vorlix::host {
namespace {

constexpr size_t WordsFor(size_t bytes) { return (bytes + WORD_SIZE - 1) / WORD_SIZE; }

size_t Longest(const std::vector<std::string>& texts) {
  size_t longest = 0;
  for (const std::string& text : texts) longest = std::max(longest, text.size());
  return longest;
}

struct Width {
  size_t operator()(const std::vector<int32_t>&) const { return 1; }
  size_t operator()(const std::vector<HostReal>&) const { return WordsFor(sizeof(HostReal)); }
  size_t operator()(const std::vector<std::string>& texts) const {
    return 1 + WordsFor(std::max(Longest(texts), static_cast<size_t>(std::max(capacity, 0))));
  }
  int32_t capacity;
};

// Words from one element to the next.
size_t Stride(const Arg& arg) { return std::visit(Width{arg.capacity}, arg.values); }

// An array without elements is presented to the function as one element, so it takes the room of one.
size_t Room(const Arg& arg) { return WORD_SIZE * Stride(arg) * std::max<size_t>(arg.Count(), 1); }

void StoreElement(Block& block, size_t offset, int32_t value) { block.Store(offset, value); }
void StoreElement(Block& block, size_t offset, const HostReal& value) { block.Store(offset, value); }
void StoreElement(Block& block, size_t offset, const std::string& text) { block.StoreText(offset, text); }

// Writes descriptor `index` and its elements at `offset`.
void StoreArg(Block& block, size_t index, size_t offset, const Arg& arg) {
  const size_t stride = Stride(arg);
  block.StoreDescriptor(index, {arg.Class(), arg.by_ref ? 1 : 0, block.AddressOf(offset), arg.capacity,
                                static_cast<int32_t>(stride), static_cast<int32_t>(arg.Count())});
  block.Store(offset, int32_t{0});  // the length of the one element of an empty array
  std::visit(
      [&](const auto& values) {
        for (size_t k = 0; k < values.size(); ++k) StoreElement(block, offset + WORD_SIZE * stride * k, values[k]);
      },
      arg.values);
}

// Loads all elements with `load(offset)`.
template <class Load>
auto LoadElements(const Block& block, const ArgDescriptor& desc, Load load) {
  std::vector<decltype(load(size_t{}))> values;
  uint32_t address = desc.address;
  for (int32_t k = 0; k < desc.count; ++k) {
    values.push_back(load(block.OffsetOf(address)));
    address += static_cast<uint32_t>(WORD_SIZE) * static_cast<uint32_t>(desc.stride);
  }
  return values;
}

Arg LoadArg(const Block& block, const ArgDescriptor& desc) {
  Arg arg{{}, desc.by_ref != 0, desc.capacity};
  if (desc.host_class == HOST_INTEGER)
    arg.values = LoadElements(block, desc, [&](size_t offset) { return block.Load<int32_t>(offset); });
  if (desc.host_class == HOST_REAL)
    arg.values = LoadElements(block, desc, [&](size_t offset) { return block.Load<HostReal>(offset); });
  if (desc.host_class == HOST_STRING) {
    const auto room = static_cast<size_t>(std::max(desc.capacity, 0));
    arg.values = LoadElements(block, desc, [&](size_t offset) { return block.LoadText(offset, room); });
  }
  return arg;
}

}  // namespace

size_t Arg::Count() const {
  return std::visit([](const auto& elements) { return elements.size(); }, values);
}

Arg Int(int32_t value) { return Ints({value}); }
Arg Ints(std::vector<int32_t> values) { return {std::move(values)}; }

Arg Real(const HostReal& value) { return Reals({value}); }
Arg Reals(std::vector<HostReal> values) { return {std::move(values)}; }

Arg Real(std::string_view decimal) {
  HostReal value = REAL_ZERO;
  const DecimalFault fault = ParseDecimal(decimal, value);
  if (fault != DecimalFault::None)
    throw std::invalid_argument("\"" + std::string(decimal) + "\" " + std::string(FaultText(fault)));
  return Real(value);
}

Arg Text(std::string_view text) { return Texts({std::string(text)}); }

Arg Texts(std::vector<std::string> texts) {
  const auto longest = static_cast<int32_t>(Longest(texts));
  return {std::move(texts), false, longest};
}

Arg IntRef(int32_t value) { return ByRef(Int(value)); }
Arg RealRef(const HostReal& value) { return ByRef(Real(value)); }
Arg OutText(int32_t capacity) { return TextRef("", capacity); }

Arg TextRef(std::string_view text, int32_t capacity) {
  Arg arg = ByRef(Text(text));
  arg.capacity = capacity;
  return arg;
}

Arg ByRef(Arg arg) {
  arg.by_ref = true;
  return arg;
}

void PlaceCall(Block& block, std::string_view function, const std::vector<Arg>& args) {
  const Arg name = Text(function);
  const size_t start = DescriptorOffset(args.size() + 1);
  size_t needed = start + Room(name);
  for (const Arg& arg : args) needed += Room(arg);
  if (needed > block.Size())
    throw std::length_error("the call needs a segment of " + std::to_string(needed) + " bytes, this one has " +
                            std::to_string(block.Size()));
  block.Store(0, block.MakeHeader(static_cast<int32_t>(args.size()) + 1));
  size_t offset = start;
  for (size_t index = 0; index <= args.size(); ++index) {
    const Arg& arg = index == 0 ? name : args[index - 1];
    StoreArg(block, index, offset, arg);
    offset += Room(arg);
  }
}

Result ReadBack(const Block& block) {
  const auto header = block.Load<BlockHeader>(0);
  Result result{header.result_code, {}};
  for (int32_t index = 1; index < header.arg_count; ++index)
    result.args.push_back(LoadArg(block, block.LoadDescriptor(static_cast<size_t>(index))));
  return result;
}

}  // namespace vorlix::host
