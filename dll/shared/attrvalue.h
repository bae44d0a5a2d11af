// The single attributes of an object as texts: how each is set from one and read as one.
//
// A setter clears its attribute before it looks at the value, so a value that it refuses leaves the attribute absent or
// zero; a null value is always refused. A getter's text borrows from the object, or from `computed`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <utility>

#include "dll/shared/dictattr.h"

namespace vorlix {

/// What a setter did not take: the value, as far as it looked at it, or null where there was none.
struct [[nodiscard]] Refused {
  bool is_refused = false;
  OwnedText value;

  static Refused Nothing() { return {}; }
  static Refused Value(OwnedText value) { return {true, std::move(value)}; }
};

using Setter = Refused (*)(Object& object, OwnedText value);
using Getter = CText (*)(const Object& object, ComputedText& computed);

/// Bits of Object::mask that checks set. The table has these and all others.
enum AttributeBit : uint32_t {
  BIT_FTYP = 0x4,
  BIT_FFMT = 0x10,
  BIT_FLEN = 0x40,
  BIT_FPREC = 0x80,
  BIT_FMIN = 0x100,
  BIT_FMAX = 0x200
};

// ---- Texts: what is empty is absent ---------------------------------------------------------------------------------

template <OwnedText Object::*Member>
Refused SetText(Object& object, OwnedText value) {
  (object.*Member).reset();
  if (value == nullptr) return Refused::Value(nullptr);
  if (value[0] != '\0') object.*Member = std::move(value);
  return Refused::Nothing();
}

template <OwnedText Object::*Member>
CText GetText(const Object& object, ComputedText&) {
  return object.*Member;
}

// ---- Numbers: what the text begins with, 0 when that is none --------------------------------------------------------

/// Whether the text begins with a number in decimal notation, behind blanks. strtod would also read hexadecimal numbers
/// and words such as "nan".
bool IsDecimal(const char* text);

/// Decimal notation with an optional exponent; a number that is too large gives the largest one.
double ReadReal(const char* text);

template <int32_t Object::*Member>
Refused SetNumber(Object& object, OwnedText value) {
  object.*Member = value != nullptr ? ReadNumber(value.get()) : 0;
  return {value == nullptr, nullptr};
}

template <double Object::*Member>
Refused SetReal(Object& object, OwnedText value) {
  object.*Member = value != nullptr ? ReadReal(value.get()) : 0;
  return {value == nullptr, nullptr};
}

template <int32_t Object::*Member>
CText GetNumber(const Object& object, ComputedText& computed) {
  const int length = std::snprintf(computed.data(), computed.size(), "%d", object.*Member);
  return {computed.data(), static_cast<size_t>(length)};
}

template <double Object::*Member>
CText GetReal(const Object& object, ComputedText& computed) {
  const int length = std::snprintf(computed.data(), computed.size(), "%.12g", object.*Member);
  return {computed.data(), static_cast<size_t>(length)};
}

// ---- Types, without regard to case ----------------------------------------------------------------------------------

/// The name of an ObjectType; no type reads as "??", which cannot be set.
Refused SetObjectType(Object& object, OwnedText value);
CText GetObjectType(const Object& object, ComputedText& computed);

/// The name of a FieldType, or any other text, which is kept as it is.
Refused SetFieldType(Object& object, OwnedText value);
CText GetFieldType(const Object& object, ComputedText& computed);

// ---- Flags ----------------------------------------------------------------------------------------------------------

/// FREQ: "1" or "0".
Refused SetRequired(Object& object, OwnedText value);
CText GetRequired(const Object& object, ComputedText& computed);

/// NOTIFY: words without regard to case, in any order, separated by whatever is not a letter; they read back joined by
/// ",". A text may end in one such character, not in more. A value that is refused comes back cut behind the word at
/// fault.
Refused SetNotify(Object& object, OwnedText value);
CText GetNotify(const Object& object, ComputedText& computed);

}  // namespace vorlix
