// Plain is what tools/values.cpp makes of the words of a plain line: each argument in the class that it is declared in,
// alone, and as a variable where something comes back.
#include "dll/record/callline.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

#include "dll/base/quote.h"
#include "dll/base/text.h"
#include "dll/wire/decimal.h"

namespace vorlix {
namespace {

// A number out of the block, of an element that lies there.
template <class Value>
Value Load(const ArgDesc& desc, int32_t k) {
  return ReadFrom<Value>(DllBlockBytes().data() + DllElementOffset(desc, k));
}

// A copy of the characters of a String; none when they do not lie in the block, as the host may have it by now.
std::optional<std::string> LoadText(const ArgDesc& desc, int32_t k) {
  std::string_view text;
  if (DllElementText(desc, k, text) != RESULT_OK) return {};
  return std::string(text);
}

// Whether a script can send the elements: all lie in the block, none in another.
bool IsSayable(const ArgDesc& desc) {
  if (!DllElementsFit(desc)) return false;
  if (desc.host_class != HOST_STRING) return desc.host_class == HOST_INTEGER || desc.host_class == HOST_REAL;
  std::string_view text;
  for (int32_t k = 0; k < std::max(desc.count, 1); ++k)
    if (DllElementText(desc, k, text) != RESULT_OK) return false;
  return true;
}

void AppendNumber(std::string& line, int64_t number) {
  std::array<char, 24> digits;
  line.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

void AppendRoom(std::string& line, int32_t room) {
  line += '[';
  AppendNumber(line, room);
  line += ']';
}

// Element `k`; a text is empty that the host has made too long since it was looked at.
void AppendElement(std::string& line, const ArgDesc& desc, int32_t k) {
  switch (desc.host_class) {
    case HOST_INTEGER: return AppendNumber(line, Load<int32_t>(desc, k));
    case HOST_REAL: line += FormatExactly(Load<HostReal>(desc, k)); return;
    default: return AppendQuoted(line, LoadText(desc, k).value_or(""));
  }
}

constexpr size_t EMPTY_QUOTES = 2;

// A value that came back, as the client library reads it.
void AppendReturned(std::string& line, const ArgDesc& desc) {
  if (desc.host_class != HOST_STRING) return AppendElement(line, desc, 0);
  const std::string text = LoadText(desc, 0).value_or("");
  AppendQuoted(line, text.substr(0, static_cast<size_t>(std::max(DllElementRoom(desc, 0), 0))));
}

// The call frame has the names and types of all arguments. A second table with texts, for the directions alone, would
// cost each server six pages that it shares with no other.
constexpr auto DIRECTIONS = [] {
  std::array<std::array<Direction, MAX_DECLARED_ARGS>, FUNCTIONS.size()> directions{};
  for (size_t i = 0; i < FUNCTIONS.size(); ++i)
    for (size_t k = 0; k < FUNCTIONS[i].arg_count; ++k) directions[i][k] = FUNCTIONS[i].args[k].direction;
  return directions;
}();

bool IsPlainArg(const ArgInfo& arg, const ArgDesc& desc) {
  if (desc.host_class != ClassOf(arg) || desc.count != 1) return false;
  if ((desc.by_ref != 0) != (arg.direction != Direction::In)) return false;
  if (desc.host_class == HOST_STRING) return desc.capacity >= 0;
  return desc.host_class == HOST_INTEGER || !FormatExactly(Load<HostReal>(desc, 0)).starts_with("0x");
}

}  // namespace

bool CallLine::ReadDescriptors() {
  const int32_t sent = DllArgCount();
  ArgDesc name;
  if (sent < 1 || sent > MOST_ARGS || DllGetArgDesc(0, name) != RESULT_OK) return false;
  std::optional<std::string> text = name.host_class == HOST_STRING ? LoadText(name, 0) : std::nullopt;
  if (!text) return false;
  name_ = *std::move(text);
  const auto entry = std::ranges::find(FunctionTable, name_, &FunctionEntry::name);
  function_ = entry != FunctionTable.end() ? &*entry : nullptr;
  count_ = static_cast<size_t>(sent) - 1;
  has_all_args_ = function_ != nullptr && std::cmp_equal(count_, function_->arg_count);
  for (size_t k = 0; k < count_; ++k) {
    args_[k] = {};
    if (DllGetArgDesc(static_cast<int32_t>(k) + 1, args_[k].desc) != RESULT_OK) return false;
    if (!IsSayable(args_[k].desc)) return false;
  }
  return true;
}

ArgInfo CallLine::Arg(size_t k) const {
  const ArgSpec& spec = ArgSpecs[static_cast<size_t>(function_->first_arg) + k];
  return {spec.name, spec.type, DIRECTIONS.at(static_cast<size_t>(function_ - FunctionTable.data())).at(k)};
}

bool CallLine::IsPlain() const {
  if (!has_all_args_) return false;
  for (size_t k = 0; k < count_; ++k)
    if (!IsPlainArg(Arg(k), args_[k].desc)) return false;
  return true;
}

void CallLine::Read() {
  function_ = nullptr;
  count_ = 0;
  has_all_args_ = false;
  is_sayable_ = ReadDescriptors();
}

void CallLine::AppendCall(std::string& line) {
  if (!is_sayable_) return AppendUnsayable(line);
  const bool is_plain = IsPlain();
  if (!is_plain) line += "place ";
  if (IsPlainWord(name_)) {
    line += name_;
  } else {
    AppendQuoted(line, name_);
  }
  for (size_t k = 0; k < count_; ++k) {
    line += ' ';
    if (is_plain) {
      AppendPlain(line, Arg(k), args_[k]);
    } else {
      AppendPlaced(line, args_[k]);
    }
  }
}

void CallLine::AppendPlain(std::string& line, const ArgInfo& arg, Sent& sent) {
  if (sent.desc.host_class != HOST_STRING) return AppendElement(line, sent.desc, 0);
  const std::string text = LoadText(sent.desc, 0).value_or("");
  const int32_t capacity = DllElementRoom(sent.desc, 0);
  const bool is_returned = arg.direction == Direction::Out;
  const bool has_its_room = arg.direction == Direction::In && std::cmp_equal(capacity, text.size());
  sent.text_at = line.size();
  if (has_its_room && IsPlainWord(text)) {
    line += text;
  } else if (!is_returned || !text.empty()) {
    AppendQuoted(line, text);
  }
  sent.text_size = line.size() - sent.text_at;
  if (!has_its_room) AppendRoom(line, capacity);
}

void CallLine::AppendPlaced(std::string& line, Sent& sent) {
  const ArgDesc& desc = sent.desc;
  if (desc.by_ref != 0) line += '&';
  line += desc.host_class == HOST_INTEGER ? "i:" : desc.host_class == HOST_REAL ? "r:" : "t:";
  sent.text_at = line.size();
  AppendElement(line, desc, 0);
  sent.text_size = line.size() - sent.text_at;
  if (desc.host_class == HOST_STRING) AppendRoom(line, DllElementRoom(desc, 0));
  for (int32_t k = 1; k < desc.count; ++k) AppendElement(line += " +", desc, k);
}

// Each descriptor as the block holds it.
void CallLine::AppendUnsayable(std::string& line) const {
  line += "# a call that no script can send: ";
  AppendNumber(line, DllArgCount());
  line += " descriptors, the block has ";
  AppendNumber(line, static_cast<int64_t>(DllBlockBytes().size()));
  line += " bytes";
  for (int32_t k = 0; k < std::min(DllArgCount(), MOST_ARGS); ++k) {
    ArgDesc desc;
    line += "\n#   ";
    AppendNumber(line, k);
    line += ": ";
    if (DllGetArgDesc(k, desc) != RESULT_OK) {
      line += "not in the block";
      break;
    }
    const auto append = [&](const char* what, int64_t number) { AppendNumber(line += what, number); };
    append("class ", desc.host_class);
    append(", by reference ", desc.by_ref);
    append(", at ", desc.offset);
    append(", capacity ", desc.capacity);
    append(", stride ", desc.stride);
    append(", count ", desc.count);
    if (desc.host_class != HOST_STRING) continue;
    desc.count = 1;
    append(", length ", DllElementsFit(desc) ? Load<int32_t>(desc, 0) : -1);
    if (k == 0) AppendQuoted(line += ", text ", LoadText(desc, 0).value_or(""));
  }
  line += "\n#  ";
}

// Whether a text is the one that was sent: what a function has set in its place is no matter to it.
bool CallLine::IsStill(std::string_view line, const Sent& sent) {
  std::string now;
  AppendQuoted(now, LoadText(sent.desc, 0).value_or(""));
  return line.substr(sent.text_at, sent.text_size) == now;
}

void CallLine::AppendOutcome(std::string& line, int32_t result) {
  outcome_ = " => ";
  AppendNumber(outcome_, result);
  const size_t told = has_all_args_ && is_sayable_ ? count_ : 0;
  for (size_t k = 0; k < told; ++k) {
    const ArgInfo arg = Arg(k);
    Sent& sent = args_[k];
    if (arg.direction == Direction::In || sent.desc.by_ref == 0) continue;
    ((outcome_ += ' ') += arg.name) += '=';
    AppendReturned(outcome_, sent.desc);
    if (arg.direction != Direction::Out || sent.desc.host_class != HOST_STRING || result != RESULT_OK ||
        sent.text_size <= EMPTY_QUOTES || IsStill(line, sent))
      sent.text_size = 0;
  }
  // From the last one on, so that the places of the others hold.
  for (size_t k = told; k-- > 0;)
    if (Arg(k).direction == Direction::Out && args_[k].desc.by_ref != 0 && args_[k].text_size != 0)
      line.erase(args_[k].text_at + 1, args_[k].text_size - EMPTY_QUOTES);
  line += outcome_;
}

std::string CallLine::FileName() const {
  for (size_t k = 0; has_all_args_ && is_sayable_ && k < count_; ++k)
    if (NamesFile(Arg(k)) && args_[k].desc.host_class == HOST_STRING)
      return std::string(BeforeNul(LoadText(args_[k].desc, 0).value_or("")));
  return "";
}

}  // namespace vorlix
