// Typed calls: arguments and results as C++ values, and their way into a block and out of it.
//
//   Result r = server.Call("fmt_Date", {Int(10227), Int(1), Int(10), Text("%d.%m.%Y"), OutText(80)});
//   if (r.code == 0) std::puts(r.args[4].TextAt().c_str());
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/block.h"
#include "hostif/layout.h"
#include "hostif/math.h"

namespace vorlix::host {

/// One argument: its elements, one for a single value, more for an array. In a Result the same, as the server left it.
struct Arg {
  std::variant<std::vector<int32_t>, std::vector<HostReal>, std::vector<std::string>> values;

  /// Whether the host takes a value back. In a Result: false when the server said that it gave none back.
  bool by_ref = false;

  /// Texts: the most bytes that each element can hold. Elements longer than that are sent as they are; the
  /// server reads them, and writes no more than that.
  int32_t capacity = 0;

  HostClass Class() const { return static_cast<HostClass>(values.index() + 1); }
  size_t Count() const;

  /// Element `k`. Throws std::bad_variant_access for another class, std::out_of_range beyond the last element.
  int32_t IntAt(size_t k = 0) const { return std::get<0>(values).at(k); }
  const HostReal& RealAt(size_t k = 0) const { return std::get<1>(values).at(k); }
  const std::string& TextAt(size_t k = 0) const { return std::get<2>(values).at(k); }
};

// Input alone: the server gives nothing back.
Arg Int(int32_t value);
Arg Ints(std::vector<int32_t> values);
Arg Real(const HostReal& value);
Arg Real(std::string_view decimal);  // as "-12.50"; throws std::invalid_argument when no host real is exactly that
Arg Reals(std::vector<HostReal> values);
Arg Text(std::string_view text);
Arg Texts(std::vector<std::string> texts);

// Variables of the host: the server may change them. Texts keep room for at least `capacity` bytes.
Arg IntRef(int32_t value = 0);
Arg RealRef(const HostReal& value = REAL_ZERO);
Arg TextRef(std::string_view text, int32_t capacity);
Arg OutText(int32_t capacity);

/// Any argument as a variable of the host.
Arg ByRef(Arg arg);

/// What came back: the server's result code, and every argument with its values, lengths and by-reference flag.
struct Result {
  int32_t code = 0;
  std::vector<Arg> args;
};

/// A way to make calls, such as Server::Call on some server.
using Caller = std::function<Result(std::string_view function, const std::vector<Arg>& args)>;

/// Writes a whole call: header, descriptors, and the elements behind them one after the other, at multiples of a word.
/// Elements of arrays lie as close as they can. Throws std::length_error, with the size that would be needed, when the
/// block is too small.
void PlaceCall(Block& block, std::string_view function, const std::vector<Arg>& args);

/// Reads a call back out of the block, by its descriptors. Throws std::out_of_range when they do not lie in the block.
Result ReadBack(const Block& block);

}  // namespace vorlix::host
