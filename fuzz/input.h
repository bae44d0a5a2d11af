// What fuzz targets make of the bytes they are given.
//
// Values are taken from the front in their order, so that a seed can be written down, and a byte that is changed or put
// in changes one value. Behind the end all values are 0 and all texts empty.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "dll/server/nls.h"

namespace vorlix::fuzz {

class Input {
 public:
  Input(const uint8_t* bytes, size_t size) : rest_(reinterpret_cast<const char*>(bytes), size) {}

  bool Empty() const { return rest_.empty(); }
  std::string_view Rest() const { return rest_; }

  template <class Value>
  Value Take() {
    Value value{};
    const std::string_view bytes = Text(sizeof value);
    std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }
  uint8_t Byte() { return Take<uint8_t>(); }

  /// The next `size` bytes, or as many as there are.
  std::string_view Text(size_t size) {
    const std::string_view text = rest_.substr(0, size);
    rest_.remove_prefix(text.size());
    return text;
  }

  /// The bytes up to the next `end`, which is passed over, or all of them.
  std::string Until(std::string_view end) {
    const std::string text(Text(rest_.find(end)));
    Text(end.size());
    return text;
  }

 private:
  std::string_view rest_;
};

/// Ends the run with what does not hold.
inline void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "\nnot so: %s\n", what);
  std::abort();
}

/// What the target does with an input. The first one finds the language "C" in force.
void Run(Input input);

}  // namespace vorlix::fuzz

/// How libFuzzer calls the target.
extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const int32_t setup = vorlix::DescribeLanguages("LANG=C");
  vorlix::fuzz::Require(setup == 0, "there is a \"C\" locale");
  vorlix::fuzz::Run({bytes, size});
  return 0;
}
