// The single attributes of an object as texts: how each is set from one and read as one.
//
// A setter clears its attribute before it looks at the value. It returns ATTR_FAILED for a null or invalid value, which
// leaves the attribute absent or zero, ATTR_KEPT when it has moved from the value, else ATTR_OK. A getter's text ends
// in NUL and borrows from the object, or from `computed`.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <utility>

#include "dll/shared/dictattr.h"

namespace vorlix {

using Setter = int32_t (*)(Object& object, OwnedText& value);
using Getter = std::string_view (*)(const Object& object, ComputedText& computed);

/// Bits of Object::mask that checks set. The table has these and all others.
enum AttributeBit : uint32_t { BIT_FTYP = 0x4, BIT_FFMT = 0x10, BIT_FLEN = 0x40, BIT_FPREC = 0x80 };

// ---- Texts: what is empty is absent ---------------------------------------------------------------------------------

template <OwnedText Object::*Member>
int32_t SetText(Object& object, OwnedText& value) {
  (object.*Member).reset();
  if (value == nullptr) return ATTR_FAILED;
  if (value[0] == '\0') return ATTR_OK;
  object.*Member = std::move(value);
  return ATTR_KEPT;
}

template <OwnedText Object::*Member>
std::string_view GetText(const Object& object, ComputedText&) {
  return TextOf(object.*Member);
}

// ---- Numbers: what the text begins with, 0 when that is none --------------------------------------------------------

/// Decimal notation with an optional exponent; a number that is too large gives the largest one.
double ReadReal(const char* text);

template <int32_t Object::*Member>
int32_t SetNumber(Object& object, OwnedText& value) {
  object.*Member = value != nullptr ? ReadNumber(value.get()) : 0;
  return value != nullptr ? ATTR_OK : ATTR_FAILED;
}

template <double Object::*Member>
int32_t SetReal(Object& object, OwnedText& value) {
  object.*Member = value != nullptr ? ReadReal(value.get()) : 0;
  return value != nullptr ? ATTR_OK : ATTR_FAILED;
}

template <int32_t Object::*Member>
std::string_view GetNumber(const Object& object, ComputedText& computed) {
  const int length = std::snprintf(computed.data(), computed.size(), "%d", object.*Member);
  return {computed.data(), static_cast<size_t>(length)};
}

template <double Object::*Member>
std::string_view GetReal(const Object& object, ComputedText& computed) {
  const int length = std::snprintf(computed.data(), computed.size(), "%.12g", object.*Member);
  return {computed.data(), static_cast<size_t>(length)};
}

// ---- Types, without regard to case ----------------------------------------------------------------------------------

/// The name of an ObjectType; no type reads as "??", which cannot be set.
int32_t SetObjectType(Object& object, OwnedText& value);
std::string_view GetObjectType(const Object& object, ComputedText& computed);

/// The name of a FieldType, or any other text, which is kept as it is.
int32_t SetFieldType(Object& object, OwnedText& value);
std::string_view GetFieldType(const Object& object, ComputedText& computed);

// ---- Flags ----------------------------------------------------------------------------------------------------------

/// FREQ: "1" or "0".
int32_t SetRequired(Object& object, OwnedText& value);
std::string_view GetRequired(const Object& object, ComputedText& computed);

/// NOTIFY: words without regard to case, in any order, parted by whatever is no letter; they read back joined by ",".
/// A text may end in one such character, not in more. Setting cuts the value at the end of each word.
int32_t SetNotify(Object& object, OwnedText& value);
std::string_view GetNotify(const Object& object, ComputedText& computed);

}  // namespace vorlix
