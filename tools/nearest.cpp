#include "tools/nearest.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include "dll/base/text.h"

namespace vorlix::tool {
namespace {

// The fewest characters to insert, delete, replace or swap with their neighbour that make one text of the other.
size_t Distance(std::string_view from, std::string_view to) {
  std::vector<size_t> before_last(to.size() + 1);
  std::vector<size_t> last(to.size() + 1);
  std::vector<size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  const auto same = [&](size_t i, size_t k) { return EqualNoCase(from.substr(i, 1), to.substr(k, 1)); };
  for (size_t i = 1; i <= from.size(); ++i) {
    before_last.swap(last);
    last.swap(row);
    row[0] = i;
    for (size_t k = 1; k <= to.size(); ++k) {
      row[k] = std::min({last[k] + 1, row[k - 1] + 1, last[k - 1] + (same(i - 1, k - 1) ? 0 : 1)});
      if (i > 1 && k > 1 && same(i - 1, k - 2) && same(i - 2, k - 1)) row[k] = std::min(row[k], before_last[k - 2] + 1);
    }
  }
  return row.back();
}

// The one name that goes on where the word ends, or ends within it; empty when there are several or none.
std::string_view Continued(std::string_view word, std::span<const std::string_view> names) {
  constexpr size_t SHORTEST = 3;
  std::string_view continued;
  for (const std::string_view name : names) {
    if (std::min(name.size(), word.size()) < SHORTEST) continue;
    if (!StartsWithNoCase(name, word) && !StartsWithNoCase(word, name)) continue;
    if (!continued.empty()) return {};
    continued = name;
  }
  return continued;
}

}  // namespace

std::string_view Nearest(std::string_view word, std::span<const std::string_view> names) {
  std::string_view nearest = Continued(word, names);
  size_t least = std::max<size_t>(word.size() / 3, 1) + 1;
  for (const std::string_view name : names) {
    const size_t distance = Distance(word, name);
    if (distance >= least) continue;
    least = distance;
    nearest = name;
  }
  return nearest;
}

}  // namespace vorlix::tool
