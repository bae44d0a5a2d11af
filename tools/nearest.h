// The name that somebody meant.
#pragma once

#include <span>
#include <string_view>

namespace vorlix::tool {

/// The name that is nearest to the word, without regard to case; empty when none is near: when more than a third of its
/// characters would have to change, and it is not the only one to begin as the word does.
std::string_view Nearest(std::string_view word, std::span<const std::string_view> names);

}  // namespace vorlix::tool
