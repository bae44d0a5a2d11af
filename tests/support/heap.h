// Fails chosen allocations of the code under test: every operator new of the test program asks here.
#pragma once

namespace vorlix::test {

/// While it lives, allocation number `nth` (from 0) fails, and with `and_all_after` every later one too.
class FailAllocation {
 public:
  explicit FailAllocation(int nth, bool and_all_after = false) : left_(nth), and_all_after_(and_all_after) {
    current_ = this;
  }
  ~FailAllocation() { current_ = nullptr; }
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  /// Whether an allocation has been failed.
  bool Hit() const { return left_ < 0; }

  /// Whether the allocation that is being made fails.
  static bool Now() {
    return current_ != nullptr && (current_->left_-- == 0 || (current_->and_all_after_ && current_->Hit()));
  }

 private:
  static inline FailAllocation* current_ = nullptr;
  int left_;  // allocations before the one that fails
  bool and_all_after_;
};

}  // namespace vorlix::test
