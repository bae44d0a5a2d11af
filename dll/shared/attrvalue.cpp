// The attributes that are more than a text: numbers, types by name, and flags.
#include "dll/shared/attrvalue.h"

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

namespace vorlix {
namespace {

// Names by code. The empty text is code 0.
constexpr CText OBJECT_TYPES[] = {
    "",
#define OBJECT_TYPE(name, ...) #name,
#include "dll/shared/dicttypes.def"
};

constexpr CText FIELD_TYPES[] = {
    "",
#define FIELD_TYPE(name, ...) #name,
#include "dll/shared/dicttypes.def"
};

constexpr CText UNKNOWN_TYPE = "??";

constexpr int32_t NO_CODE = -1;

// The code of a name, NO_CODE when there is no such name.
int32_t CodeOf(std::span<const CText> names, std::string_view name) {
  for (size_t code = 0; code < names.size(); ++code)
    if (EqualNoCase(names[code], name)) return static_cast<int32_t>(code);
  return NO_CODE;
}

CText NameOf(std::span<const CText> names, int32_t code) {
  return code > 0 && static_cast<size_t>(code) < names.size() ? names[static_cast<size_t>(code)] : UNKNOWN_TYPE;
}

struct NotifyWord {
  std::string_view word;
  uint32_t flag;
};

constexpr NotifyWord NOTIFY_WORDS[] = {
    {"valid", OBJ_NOTIFY_VALID},
    {"empty", OBJ_NOTIFY_EMPTY},
    {"always", OBJ_NOTIFY_ALWAYS},
    {"fsearch", OBJ_NOTIFY_FSEARCH},
};

constexpr uint32_t NotifyFlags() {
  uint32_t flags = 0;
  for (const NotifyWord& row : NOTIFY_WORDS) flags |= row.flag;
  return flags;
}

// The flag of the next word, 0 when there is no such word. Skips what stands before the word and the one character
// behind it, which becomes its NUL: so a text can end in one character that is no letter, but not in two, where the
// second announces a word that does not come.
uint32_t NextNotifyFlag(char*& text) {
  while (*text != '\0' && !IsNameLetter(*text)) ++text;
  const char* const word = text;
  while (IsNameLetter(*text)) ++text;
  if (*text != '\0') *text++ = '\0';
  const auto* const row =
      std::ranges::find_if(NOTIFY_WORDS, [word](const NotifyWord& entry) { return EqualNoCase(entry.word, word); });
  return row != std::end(NOTIFY_WORDS) ? row->flag : 0;
}

}  // namespace

bool IsDecimal(const char* text) {
  const char* digits = text;
  while (std::isspace(static_cast<unsigned char>(*digits))) ++digits;
  if (*digits == '+' || *digits == '-') ++digits;
  const bool is_hexadecimal = digits[0] == '0' && LowerCase(digits[1]) == 'x';
  return (IsDigit(*digits) || *digits == '.') && !is_hexadecimal;
}

double ReadReal(const char* text) {
  return IsDecimal(text) ? std::clamp(std::strtod(text, nullptr), -DBL_MAX, DBL_MAX) : 0;
}

Refused SetObjectType(Object& object, OwnedText value) {
  const int32_t code = value != nullptr ? CodeOf(OBJECT_TYPES, value.get()) : NO_CODE;
  object.objtype = code != NO_CODE ? ObjectType{code} : OT_NONE;
  return code != NO_CODE ? Refused::Nothing() : Refused::Value(std::move(value));
}

CText GetObjectType(const Object& object, ComputedText&) { return NameOf(OBJECT_TYPES, object.objtype); }

Refused SetFieldType(Object& object, OwnedText value) {
  object.ftyp = FT_NONE;
  object.ftyp_text.reset();
  if (value == nullptr) return Refused::Value(nullptr);
  const int32_t code = CodeOf(FIELD_TYPES, value.get());
  if (code == NO_CODE) return SetText<&Object::ftyp_text>(object, std::move(value));
  object.ftyp = FieldType{code};
  return Refused::Nothing();
}

CText GetFieldType(const Object& object, ComputedText&) {
  return object.ftyp == FT_NONE ? CText(object.ftyp_text) : NameOf(FIELD_TYPES, object.ftyp);
}

Refused SetRequired(Object& object, OwnedText value) {
  object.flags &= ~uint32_t{OBJ_REQUIRED};
  const std::string_view text = CText(value);
  if (text == "1") object.flags |= OBJ_REQUIRED;
  const bool is_flag = value != nullptr && (text == "1" || text == "0" || text.empty());
  return is_flag ? Refused::Nothing() : Refused::Value(std::move(value));
}

CText GetRequired(const Object& object, ComputedText&) { return (object.flags & OBJ_REQUIRED) != 0 ? "1" : "0"; }

Refused SetNotify(Object& object, OwnedText value) {
  object.flags &= ~NotifyFlags();
  if (value == nullptr) return Refused::Value(nullptr);
  uint32_t flags = 0;
  for (char* text = value.get(); *text != '\0';) {
    const uint32_t flag = NextNotifyFlag(text);
    if (flag == 0) return Refused::Value(std::move(value));
    flags |= flag;
  }
  object.flags |= flags;
  return Refused::Nothing();
}

CText GetNotify(const Object& object, ComputedText& computed) {
  char* end = computed.data();
  for (const NotifyWord& row : NOTIFY_WORDS) {
    if ((object.flags & row.flag) == 0) continue;
    if (end != computed.data()) *end++ = ',';
    end = std::ranges::copy(row.word, end).out;
  }
  *end = '\0';
  return {computed.data(), static_cast<size_t>(end - computed.data())};
}

}  // namespace vorlix
