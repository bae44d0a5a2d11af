// The arguments of calls. All single ones go the way of arrays.
#include <array>
#include <charconv>
#include <concepts>
#include <cstdarg>
#include <string>
#include <vector>

#include "host/c/handles.h"
#include "host/decimal.h"

namespace vorlix::c {
namespace {

using host::Arg;

// Adds the argument that `make` gives; when it cannot, the call remembers that.
vorlix_status Put(vorlix_call* call, std::invocable auto make) {
  return Try([&] {
    Need(call, "the call");
    try {
      call->args.push_back(make());
    } catch (const std::exception&) {
      if (call->bad_argument == VORLIX_OK) {
        call->bad_argument = Failed();
        call->bad_argument_message = Numbered(call->args.size()) + ": " + vorlix_error_message();
      }
      throw;
    }
  });
}

HostReal ReadDecimal(const char* decimal) {
  Need(decimal, "the number");
  HostReal real = REAL_ZERO;
  const host::DecimalFault fault = host::ParseDecimal(decimal, real);
  if (fault != host::DecimalFault::None)
    throw Fault(VORLIX_BAD_VALUE, "\"" + std::string(decimal) + "\" " + std::string(host::FaultText(fault)));
  return real;
}

std::string Shortest(double value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

HostReal ReadDouble(double value) {
  HostReal real = REAL_ZERO;
  if (DoubleToHostReal(value, real) != MATH_OK)
    throw Fault(VORLIX_BAD_VALUE, Shortest(value) + ' ' + std::string(host::FaultText(host::DecimalFault::OutOfRange)));
  return real;
}

// An array of what `read` makes of each element.
template <class Value, class From>
Arg MakeArray(const From* from, size_t count, bool by_ref, Value (*read)(From)) {
  if (count > 0) Need(from, "the array");
  NeedSize(count, "the count of elements");
  std::vector<Value> values;
  values.reserve(count);
  for (size_t k = 0; k < count; ++k) values.push_back(read(from[k]));
  return {std::move(values), by_ref};
}

std::string ReadText(const char* bytes, const size_t* length) {
  if (length == nullptr || *length > 0) Need(bytes, "the text");
  if (length != nullptr) NeedSize(*length, "the length of a text");
  return length == nullptr ? std::string(bytes) : std::string(bytes, bytes != nullptr ? *length : 0);
}

Arg MakeText(std::string text, int32_t capacity, bool by_ref) {
  if (capacity < 0) throw Fault(VORLIX_BAD_VALUE, "a capacity below 0");
  return {std::vector{std::move(text)}, by_ref, capacity};
}

Arg NoTypes() { throw Fault(VORLIX_BAD_USE, "the types are NULL"); }

// The arguments behind the letters that are still to come.
struct Remaining {
  va_list arguments;
};

vorlix_status PutNextBytes(vorlix_call* call, Remaining& rest, bool by_ref) {
  const void* const bytes = va_arg(rest.arguments, const void*);
  const size_t length = va_arg(rest.arguments, size_t);
  return by_ref ? vorlix_put_bytes_ref(call, bytes, length, va_arg(rest.arguments, int32_t))
                : vorlix_put_bytes(call, bytes, length);
}

vorlix_status PutNextTextRef(vorlix_call* call, Remaining& rest) {
  const char* const text = va_arg(rest.arguments, const char*);
  return vorlix_put_text_ref(call, text, va_arg(rest.arguments, int32_t));
}

vorlix_status PutNext(vorlix_call* call, char type, Remaining& rest) {
  switch (type) {
    case 'i': return vorlix_put_int(call, va_arg(rest.arguments, int32_t));
    case 'I': return vorlix_put_int_ref(call, va_arg(rest.arguments, int32_t));
    case 'd': return vorlix_put_double(call, va_arg(rest.arguments, double));
    case 'D': return vorlix_put_double_ref(call, va_arg(rest.arguments, double));
    case 'r': return vorlix_put_real(call, va_arg(rest.arguments, const char*));
    case 'R': return vorlix_put_real_ref(call, va_arg(rest.arguments, const char*));
    case 't': return vorlix_put_text(call, va_arg(rest.arguments, const char*));
    case 'T': return PutNextTextRef(call, rest);
    case 'b':
    case 'B': return PutNextBytes(call, rest, type == 'B');
    default: return Put(call, [&]() -> Arg { throw Fault(VORLIX_BAD_USE, std::string("no type letter: ") + type); });
  }
}

}  // namespace
}  // namespace vorlix::c

using namespace vorlix;
using namespace vorlix::c;

vorlix_status vorlix_put_int(vorlix_call* call, int32_t value) { return vorlix_put_ints(call, &value, 1, false); }
vorlix_status vorlix_put_int_ref(vorlix_call* call, int32_t value) { return vorlix_put_ints(call, &value, 1, true); }

vorlix_status vorlix_put_real(vorlix_call* call, const char* decimal) {
  return vorlix_put_reals(call, &decimal, 1, false);
}
vorlix_status vorlix_put_real_ref(vorlix_call* call, const char* decimal) {
  return vorlix_put_reals(call, &decimal, 1, true);
}

vorlix_status vorlix_put_double(vorlix_call* call, double value) { return vorlix_put_doubles(call, &value, 1, false); }
vorlix_status vorlix_put_double_ref(vorlix_call* call, double value) {
  return vorlix_put_doubles(call, &value, 1, true);
}

vorlix_status vorlix_put_text(vorlix_call* call, const char* text) {
  return vorlix_put_texts(call, &text, nullptr, 1, -1, false);
}
vorlix_status vorlix_put_text_ref(vorlix_call* call, const char* text, int32_t capacity) {
  return Put(call, [&] { return MakeText(ReadText(text, nullptr), capacity, true); });
}
vorlix_status vorlix_put_bytes(vorlix_call* call, const void* bytes, size_t length) {
  const char* const text = static_cast<const char*>(bytes);
  return vorlix_put_texts(call, &text, &length, 1, -1, false);
}
vorlix_status vorlix_put_bytes_ref(vorlix_call* call, const void* bytes, size_t length, int32_t capacity) {
  return Put(call, [&] { return MakeText(ReadText(static_cast<const char*>(bytes), &length), capacity, true); });
}

vorlix_status vorlix_put_ints(vorlix_call* call, const int32_t* values, size_t count, bool by_ref) {
  return Put(call, [&] {
    return MakeArray<int32_t>(
        values, count, by_ref, +[](int32_t value) { return value; });
  });
}
vorlix_status vorlix_put_reals(vorlix_call* call, const char* const* decimals, size_t count, bool by_ref) {
  return Put(call, [&] { return MakeArray(decimals, count, by_ref, ReadDecimal); });
}
vorlix_status vorlix_put_doubles(vorlix_call* call, const double* values, size_t count, bool by_ref) {
  return Put(call, [&] { return MakeArray(values, count, by_ref, ReadDouble); });
}

vorlix_status vorlix_put_texts(vorlix_call* call, const char* const* texts, const size_t* lengths, size_t count,
                               int32_t capacity, bool by_ref) {
  return Put(call, [&] {
    if (count > 0) Need(texts, "the array");
    NeedSize(count, "the count of elements");
    std::vector<std::string> copies;
    for (size_t k = 0; k < count; ++k) copies.push_back(ReadText(texts[k], lengths != nullptr ? &lengths[k] : nullptr));
    Arg arg = host::Texts(std::move(copies));
    if (capacity >= 0) arg.capacity = capacity;
    arg.by_ref = by_ref;
    return arg;
  });
}

vorlix_status vorlix_put(vorlix_call* call, const char* types, ...) {
  va_list arguments;
  va_start(arguments, types);
  const vorlix_status status = vorlix_vput(call, types, arguments);
  va_end(arguments);
  return status;
}

vorlix_status vorlix_vput(vorlix_call* call, const char* types, va_list arguments) {
  Remaining remaining;
  va_copy(remaining.arguments, arguments);
  vorlix_status status = types != nullptr ? VORLIX_OK : Put(call, NoTypes);
  for (; status == VORLIX_OK && *types != '\0'; ++types) status = PutNext(call, *types, remaining);
  va_end(remaining.arguments);
  return status;
}
