// What is wrong with a call, as far as a host can know: its arguments against the function table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/call.h"

namespace vorlix::host {

/// What the function table has against a call, which the server would refuse with 7, 8 or 9: one sentence, such as
/// "argument 2 of fmt_Num (plen) is a text where it takes an integer or a real". Empty when there is nothing.
std::string CheckCall(std::string_view name, const std::vector<Arg>& args);

/// Which argument was at fault in a call that was answered with `code`: for 7, 8 and 9 as above, for 18 the texts whose
/// room can have been too small, for 204 the corrupt XBUF. Empty where nothing is known.
std::string ExplainRefusal(std::string_view name, const std::vector<Arg>& args, int32_t code);

}  // namespace vorlix::host
