// Calls, and what comes back of them.
#include <charconv>
#include <chrono>

#include "host/c/handles.h"
#include "host/decimal.h"
#include "host/refusal.h"

namespace vorlix::c {
namespace {

using host::Arg;

std::optional<std::chrono::milliseconds> Patience(int32_t milliseconds) {
  if (milliseconds < 0) return {};
  return std::chrono::milliseconds(milliseconds);
}

void CheckReady(const vorlix_call* call) {
  Need(call, "the call");
  if (call->bad_argument != VORLIX_OK) throw Fault(call->bad_argument, call->bad_argument_message);
}

// From the start on there is no answer until the next one comes.
void Forget(vorlix_call& call) {
  call.number.reset();
  call.result.reset();
  call.decimals.clear();
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

// ---- The call itself ------------------------------------------------------------------------------------------------

vorlix_status vorlix_call_place(vorlix_call* call, int32_t* code) {
  return Try([&] {
    CheckReady(call);
    Forget(*call);
    call->result = call->server->Call(call->function, call->args);
    if (code != nullptr) *code = call->result->code;
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
    if (!call->result) call->result = call->server->Await(*call->number, Patience(milliseconds));
    if (code != nullptr) *code = call->result->code;
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
