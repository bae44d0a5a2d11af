// The prototypes of all callable functions, made from functions.def.
//
// A callable function reads in three moves: take the typed arguments, call one internal operation, map its outcome to a
// result code.
#pragma once

#include <cstdint>
#include <type_traits>

#include "hostif/dllifutil.h"

namespace vorlix {

// What a function only reads comes as a constant; what it gives back is the plain type.
template <class Type>
using In = const std::remove_reference_t<Type>&;
template <class Type>
using Out = Type;
template <class Type>
using InOut = Type;

#define FUNCTION(name, sentence, sample, ...) int32_t name(__VA_ARGS__);
#include "dll/wire/functions.def"
#undef FUNCTION

}  // namespace vorlix
