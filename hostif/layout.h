// The layout of the shared call block: what host and server agree on, byte for byte.
//
// All words are 32 bits in the byte order of the machine. The block starts with a header of ten words, followed by one
// descriptor of six words per argument, the function's name first. Where the arguments' elements lie in the segment is
// the host's choice: a descriptor carries the address of its first element in the host's own mapping.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace vorlix {

inline constexpr std::array<char, 8> DLL_MAGIC = {'Z', 'D', '.', 'D', 'L', 'L', '\0', '\0'};
inline constexpr int32_t DLL_VERSION = 257;

/// The largest number of arguments after the function's name.
inline constexpr int32_t MAX_ARGS = 50;

struct BlockHeader {
  std::array<char, 8> magic;  // DLL_MAGIC
  int32_t version;            // DLL_VERSION
  int32_t host_pid;           // receives SIGUSR2 when a call is done
  uint32_t host_base;         // where the host has the segment mapped, modulo 2^32
  int32_t result_code;        // written by the server after every call
  int32_t request_area_size;  // the three request words belong to a channel from server to host that is not in use
  uint32_t request_area_address;
  int32_t request_code;
  int32_t arg_count;  // descriptors that follow, the function's name included
};

enum HostClass : int32_t { HOST_INTEGER = 1, HOST_REAL = 2, HOST_STRING = 3 };

struct ArgDescriptor {
  int32_t host_class;  // a HostClass
  int32_t by_ref;      // non-zero: the host takes a value back; set to 0 by the server when it wrote nothing back
  uint32_t address;    // of the first element, in the host's mapping
  int32_t capacity;    // STRING: the most characters that an element can hold
  int32_t stride;      // from one element to the next, in words
  int32_t count;       // elements: 1 for a single value, more for an array
};

inline constexpr std::size_t WORD_SIZE = 4;

/// No function answers this. A host stores it as result code before it signals, and knows by the word when its call is
/// done. It may wait for the signal, or at the word (futex): the server sends the one and wakes the other.
inline constexpr int32_t NO_RESULT = std::numeric_limits<int32_t>::min();

static_assert(sizeof(BlockHeader) == 40 && offsetof(BlockHeader, host_pid) == 12 &&
              offsetof(BlockHeader, host_base) == 16 && offsetof(BlockHeader, result_code) == 20 &&
              offsetof(BlockHeader, arg_count) == 36);
static_assert(sizeof(ArgDescriptor) == 24);

/// Byte offset of descriptor `index` in the block.
constexpr std::size_t DescriptorOffset(std::size_t index) {
  return sizeof(BlockHeader) + index * sizeof(ArgDescriptor);
}

/// The codes that the call frame itself answers with, and those that all functions share.
enum [[nodiscard]] ResultCode : int32_t{
    RESULT_OK = 0,
    RESULT_NO_MEMORY = 2,
    RESULT_UNKNOWN_FUNCTION = 7,
    RESULT_WRONG_CLASS = 8,
    RESULT_WRONG_COUNT = 9,
    RESULT_ARRAY_TOO_SHORT = 17,
    RESULT_TOO_SHORT = 18,  // a String argument is too short for the result
    RESULT_REFUSED = 19,    // a precondition is not met
    RESULT_CORRUPT = 204,   // a corrupt buffer or descriptor from the host
    RESULT_TOO_MANY_ARGS = 606,
    RESULT_BAD_TYPE = -1,
};

/// How a function declares an argument; the codes stand in the function table.
enum class DeclaredType : int32_t {
  VarArg = 0,
  IntByValue = 1,
  IntByReference = 2,
  IntArray = 3,
  RealByValue = 4,
  RealByReference = 5,
  RealArray = 6,
  zString = 7,
  String = 8,
  StringArray = 9,
  Count
};

/// How a function gets an argument.
enum class Presentation {
  None,            // not at all: the call is refused
  Integers,        // in place in the block
  Strings,         // private DllStrings over the elements
  Text,            // a private copy that ends in NUL
  DoublesOfInts,   // private doubles, nothing goes back
  IntsOfReals,     // private integers, nothing goes back
  DoublesOfReals,  // private doubles that go back into the host reals of by-reference types
};

/// What is declared: a value that nothing comes back of, a variable, or an array. Of Any, each call says what it has.
enum class Shape { Any, Value, Variable, Array };

struct DeclaredTypeInfo {
  DeclaredType type;
  std::string_view name;
  Shape shape;
  HostClass own_class;                 // what a host sends that has the choice
  Presentation integer, real, string;  // of what a host sends in the class

  constexpr Presentation Of(int32_t host_class) const {
    switch (host_class) {
      case HOST_INTEGER: return integer;
      case HOST_REAL: return real;
      case HOST_STRING: return string;
      default: return Presentation::None;
    }
  }
};

/// The declared types, by code.
inline constexpr auto DECLARED_TYPES = [] {
  using enum DeclaredType;
  using enum Presentation;
  return std::to_array<DeclaredTypeInfo>({
      {VarArg, "VarArg", Shape::Any, HOST_STRING, Integers, DoublesOfReals, Strings},
      {IntByValue, "IntByValue", Shape::Value, HOST_INTEGER, Integers, IntsOfReals, None},
      {IntByReference, "IntByReference", Shape::Variable, HOST_INTEGER, Integers, None, None},
      {IntArray, "IntArray", Shape::Array, HOST_INTEGER, Integers, None, None},
      {RealByValue, "RealByValue", Shape::Value, HOST_REAL, DoublesOfInts, DoublesOfReals, None},
      {RealByReference, "RealByReference", Shape::Variable, HOST_REAL, None, DoublesOfReals, None},
      {RealArray, "RealArray", Shape::Array, HOST_REAL, None, DoublesOfReals, None},
      {zString, "zString", Shape::Value, HOST_STRING, None, None, Text},
      {String, "String", Shape::Variable, HOST_STRING, None, None, Strings},
      {StringArray, "StringArray", Shape::Array, HOST_STRING, None, None, Strings},
  });
}();
static_assert(DECLARED_TYPES.size() == static_cast<std::size_t>(DeclaredType::Count));

/// The row of a type; its code must be one that there is.
constexpr const DeclaredTypeInfo& InfoOf(DeclaredType type) {
  return DECLARED_TYPES.at(static_cast<std::size_t>(type));
}

static_assert(std::ranges::all_of(DECLARED_TYPES, [](const DeclaredTypeInfo& row) {
  return &row == &InfoOf(row.type) && row.Of(row.own_class) != Presentation::None;
}));

/// The names of the declared types, by code.
inline constexpr auto DECLARED_TYPE_NAMES = [] {
  std::array<std::string_view, DECLARED_TYPES.size()> names;
  std::ranges::transform(DECLARED_TYPES, names.begin(), &DeclaredTypeInfo::name);
  return names;
}();

}  // namespace vorlix
