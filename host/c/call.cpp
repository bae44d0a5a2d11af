// Calls: arguments in, values out.
#include <charconv>
#include <chrono>
#include <cstdarg>
#include <new>
#include <string_view>

#include "host/c/handles.h"
#include "host/decimal.h"
#include "host/refusal.h"

namespace vorlix::c {
namespace {

using host::Arg;

std::string Numbered(size_t arg) { return "argument " + std::to_string(arg) + " (counted from 0)"; }

// Adds the argument that `make` gives; when it cannot, the call remembers that.
vorlix_status Put(vorlix_call* call, std::invocable auto make) {
  return Try([&] {
    Need(call, "the call");
    try {
      call->args.push_back(make());
    } catch (const Fault& fault) {
      if (call->bad_argument == VORLIX_OK) {
        call->bad_argument_message = Numbered(call->args.size()) + ": " + fault.what();
        call->bad_argument = fault.Status();
      }
      throw;
    } catch (const std::bad_alloc&) {
      if (call->bad_argument == VORLIX_OK) call->bad_argument = VORLIX_NO_MEMORY;
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

HostReal ReadDouble(double value) {
  HostReal real = REAL_ZERO;
  if (DoubleToHostReal(value, real) != MATH_OK)
    throw Fault(VORLIX_BAD_VALUE,
                std::to_string(value) + ' ' + std::string(host::FaultText(host::DecimalFault::OutOfRange)));
  return real;
}

// An array of what `read` makes of each element.
template <class Value, class From>
Arg MakeArray(const From* from, size_t count, bool by_ref, Value (*read)(From)) {
  if (count > 0) Need(from, "the array");
  std::vector<Value> values;
  values.reserve(count);
  for (size_t k = 0; k < count; ++k) values.push_back(read(from[k]));
  return {std::move(values), by_ref};
}

std::string ReadText(const char* bytes, const size_t* length) {
  if (length == nullptr || *length > 0) Need(bytes, "the text");
  return length == nullptr ? std::string(bytes) : std::string(bytes, bytes != nullptr ? *length : 0);
}

Arg MakeText(std::string text, int32_t capacity, bool by_ref) {
  if (capacity < 0) throw Fault(VORLIX_BAD_VALUE, "a capacity below 0");
  return {std::vector{std::move(text)}, by_ref, capacity};
}

std::optional<std::chrono::milliseconds> Patience(int32_t milliseconds) {
  if (milliseconds < 0) return {};
  return std::chrono::milliseconds(milliseconds);
}

void CheckReady(const vorlix_call* call) {
  Need(call, "the call");
  if (call->bad_argument == VORLIX_NO_MEMORY) throw std::bad_alloc();
  if (call->bad_argument != VORLIX_OK) throw Fault(call->bad_argument, call->bad_argument_message);
}

// From the start on there is no answer until the next one comes.
void Forget(vorlix_call& call) {
  call.number.reset();
  call.result.reset();
  call.decimals.clear();
}

void Keep(vorlix_call& call, host::Result result, int32_t* code) {
  call.result = std::move(result);
  if (code != nullptr) *code = call.result->code;
}

const Arg& Answered(const vorlix_call* call, size_t arg) {
  Need(call, "the call");
  if (!call->result) throw Fault(VORLIX_BAD_USE, "the call has not been answered");
  if (arg >= call->result->args.size())
    throw Fault(VORLIX_BAD_USE, Numbered(arg) + ": the call has only " + std::to_string(call->result->args.size()));
  return call->result->args[arg];
}

// The element of an argument whose values are of this type, which `what` names.
template <class Value>
const Value& Element(const vorlix_call* call, size_t arg, size_t element, const char* what) {
  const Arg& answered = Answered(call, arg);
  const auto* const values = std::get_if<std::vector<Value>>(&answered.values);
  if (values == nullptr) throw Fault(VORLIX_BAD_VALUE, Numbered(arg) + " is not " + what);
  if (element >= values->size())
    throw Fault(VORLIX_BAD_USE, Numbered(arg) + " has no element " + std::to_string(element));
  return (*values)[element];
}

std::string DecimalOf(const vorlix_call* call, size_t arg, size_t element) {
  const auto& real = Element<HostReal>(call, arg, element, "a real");
  return host::FormatDecimal(real);
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

vorlix_status vorlix_call_new(vorlix_server* server, const char* function, vorlix_call** call) {
  return Try([&] {
    Need(server, "the server");
    Need(function, "the name of the function");
    Need(call, "the place for the call");
    *call = new vorlix_call{server->server, function, {}};
  });
}

void vorlix_call_free(vorlix_call* call) { delete call; }

// ---- Arguments ------------------------------------------------------------------------------------------------------

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

// ---- The call itself ------------------------------------------------------------------------------------------------

vorlix_status vorlix_call_place(vorlix_call* call, int32_t* code) {
  return Try([&] {
    CheckReady(call);
    Forget(*call);
    Keep(*call, call->server->Call(call->function, call->args), code);
  });
}

vorlix_status vorlix_call_start(vorlix_call* call, int32_t milliseconds) {
  return Try([&] {
    CheckReady(call);
    Forget(*call);
    call->number = call->server->Place(call->function, call->args, Patience(milliseconds));
  });
}

vorlix_status vorlix_call_wait(vorlix_call* call, int32_t milliseconds, int32_t* code) {
  return Try([&] {
    Need(call, "the call");
    if (!call->number) throw Fault(VORLIX_BAD_USE, "the call was not started");
    Keep(*call, call->server->Await(*call->number, Patience(milliseconds)), code);
  });
}

const char* vorlix_call_fault(vorlix_call* call) {
  return TryPointer([&] {
    Need(call, "the call");
    if (call->bad_argument != VORLIX_OK) {
      call->fault = call->bad_argument_message;
    } else {
      call->fault = call->result ? host::ExplainRefusal(call->function, call->args, call->result->code)
                                 : host::CheckCall(call->function, call->args);
    }
    return call->fault.c_str();
  });
}

// ---- Values that came back ------------------------------------------------------------------------------------------

vorlix_status vorlix_get_int(const vorlix_call* call, size_t arg, int32_t* value) {
  return vorlix_get_int_at(call, arg, 0, value);
}
vorlix_status vorlix_get_int_at(const vorlix_call* call, size_t arg, size_t element, int32_t* value) {
  return Try([&] {
    Need(value, "the place for the value");
    *value = Element<int32_t>(call, arg, element, "an integer");
  });
}

vorlix_status vorlix_get_double(const vorlix_call* call, size_t arg, double* value) {
  return vorlix_get_double_at(call, arg, 0, value);
}
vorlix_status vorlix_get_double_at(const vorlix_call* call, size_t arg, size_t element, double* value) {
  return Try([&] {
    Need(value, "the place for the value");
    const std::string decimal = DecimalOf(call, arg, element);
    double nearest = 0;
    if (std::from_chars(decimal.data(), decimal.data() + decimal.size(), nearest).ec != std::errc())
      throw Fault(VORLIX_BAD_VALUE, Numbered(arg) + " came back as no number");
    *value = nearest;
  });
}

const char* vorlix_get_real(vorlix_call* call, size_t arg) { return vorlix_get_real_at(call, arg, 0); }
const char* vorlix_get_real_at(vorlix_call* call, size_t arg, size_t element) {
  return TryPointer([&] {
    std::string decimal = DecimalOf(call, arg, element);
    return call->decimals.try_emplace({arg, element}, std::move(decimal)).first->second.c_str();
  });
}

const char* vorlix_get_text(const vorlix_call* call, size_t arg, size_t* length) {
  return vorlix_get_text_at(call, arg, 0, length);
}
const char* vorlix_get_text_at(const vorlix_call* call, size_t arg, size_t element, size_t* length) {
  return TryPointer([&] {
    const auto& text = Element<std::string>(call, arg, element, "a text");
    if (length != nullptr) *length = text.size();
    return text.c_str();
  });
}

vorlix_status vorlix_get_count(const vorlix_call* call, size_t arg, size_t* count) {
  return Try([&] {
    Need(count, "the place for the count");
    *count = Answered(call, arg).Count();
  });
}

vorlix_status vorlix_get_returned(const vorlix_call* call, size_t arg, bool* returned) {
  return Try([&] {
    Need(returned, "the place for the answer");
    *returned = Answered(call, arg).by_ref;
  });
}
