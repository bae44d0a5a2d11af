// The named filters of a walk over variables: which variables they deliver, and what they do to the values on the way.
//
//   format     all; the value becomes the text that the field shows
//   fmt_hook   fields without a known field type
//   def_hook   fields whose DEFAULT begins with "$"; the value of every variable becomes its field's DEFAULT
//   out_hook   fields with an OUTPUT attribute
//   load_hook  fields with a LOAD attribute
//   init_hook  fields with an INIT attribute
#pragma once

#include <cstdint>
#include <string_view>

#include "dll/shared/dictvar.h"

namespace vorlix {

/// What a filter returns, or else a negative VarResult, which has been traced. It is called with the current variable.
enum FilterResult : int32_t { FILTER_DELIVER = 0, FILTER_SKIP = 2 };

/// The filter of this name, without regard to case; null when there is none.
VarFilter FindVarFilter(std::string_view name);

}  // namespace vorlix
