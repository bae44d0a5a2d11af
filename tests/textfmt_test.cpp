#include "dll/shared/textfmt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

namespace vorlix {
namespace {

TEST(FmtText, IsBoundedForEveryLength) {
  constexpr int32_t LEAST = std::numeric_limits<int32_t>::min();
  constexpr int32_t MOST = std::numeric_limits<int32_t>::max();
  for (const size_t size : {0U, 1U, 254U, 255U, 256U, 5000U}) {
    const std::string text(size, 'a');
    for (const int32_t len : {LEAST, -1, 0, 1, 254, 255, 256, 509, 510, 511, 512, MOST}) {
      for (const char* letters : {"", "R", "C", "U", "O", "RU"}) {
        FieldBuffer out;
        const bool fits = FldFmtText(out, text, len, letters);
        const auto width = static_cast<size_t>(std::clamp(len, 0, FIELD_MAX));
        const bool good = fits ? len > 0 && (out.Length() <= width && (letters[0] != 'R' || len <= FIELD_MAX))
                               : out.View() == std::string(width, '?');
        ASSERT_TRUE(good) << size << " in " << len << " " << letters << " [" << out.View() << "]";
      }
    }
  }
}

}  // namespace
}  // namespace vorlix
