// Fails chosen allocations of the code under test: every operator new of the test program goes through a countdown.
#pragma once

namespace vorlix::test {

/// While it lives, allocation number `nth` (from 0) fails, and with `and_all_after` every later one too.
class FailAllocation {
 public:
  explicit FailAllocation(int nth, bool and_all_after = false);
  ~FailAllocation();
  FailAllocation(const FailAllocation&) = delete;
  FailAllocation& operator=(const FailAllocation&) = delete;

  /// Whether an allocation has been failed.
  bool Hit() const;
};

}  // namespace vorlix::test
