// The buffer that every formatted or scanned field text is made in: 255 characters and the NUL behind them.
//
// Nothing that goes into it can reach beyond it: what does not fit is refused as a whole, and a filling is cut.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vorlix {

/// The longest text of a field; widths and lengths beyond it cannot be met.
inline constexpr int32_t FIELD_MAX = 255;

class FieldBuffer {
 public:
  FieldBuffer() { Clear(); }
  FieldBuffer(const FieldBuffer& other) { Append(other.View()); }
  FieldBuffer& operator=(const FieldBuffer& other) {
    if (this != &other) Assign(other.View());
    return *this;
  }

  std::string_view View() const { return {text_.data(), length_}; }
  /// The same text as a C string.
  const char* CStr() const { return text_.data(); }
  size_t Length() const { return length_; }
  /// Characters that still fit.
  size_t Room() const { return static_cast<size_t>(FIELD_MAX) - length_; }

  void Clear() { End(0); }

  /// Appends the whole of `text`, which must not lie in this buffer. False, and nothing changed, when it does not fit.
  bool Append(std::string_view text) {
    if (text.size() > Room()) return false;
    if (!text.empty()) std::memcpy(text_.data() + length_, text.data(), text.size());
    End(length_ + text.size());
    return true;
  }
  bool Append(char c) { return Append(std::string_view(&c, 1)); }

  /// Replaces the contents by the whole of `text`, which must not lie in this buffer. False, and empty, when it does
  /// not fit.
  bool Assign(std::string_view text) {
    Clear();
    return Append(text);
  }

  /// Replaces the contents by a number in decimal.
  void AssignNumber(int64_t number) { Finish(std::to_chars(Start(), Start() + FIELD_MAX, number).ptr); }

  /// Room for FIELD_MAX characters, for those who write in place; Finish makes what stands before `end` the contents.
  char* Start() { return text_.data(); }
  void Finish(const char* end) { End(static_cast<size_t>(end - text_.data())); }

  /// Replaces the contents by `count` times `c`: none for a count below 1, and FIELD_MAX at the most.
  void Fill(char c, int32_t count) {
    const auto length = static_cast<size_t>(std::clamp(count, 0, FIELD_MAX));
    std::memset(text_.data(), c, length);
    End(length);
  }

 private:
  void End(size_t length) {
    length_ = length;
    text_[length] = '\0';
  }

  std::array<char, FIELD_MAX + 1> text_;  // not cleared beforehand: only what is in use is read
  size_t length_ = 0;
};

}  // namespace vorlix
