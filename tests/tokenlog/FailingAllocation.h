#pragma once

/// Makes every operator new of this thread fail for the length of a scope.
class FailingAllocation {
 public:
  FailingAllocation();
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};
