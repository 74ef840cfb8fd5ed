/// An autorelease pool for C++.

#ifndef QEL_TESTS_MACPROBE_POOL_H_
#define QEL_TESTS_MACPROBE_POOL_H_

namespace probe {

/// Objects that are autoreleased during its life are released at its end.
class InPool {
 public:
  InPool();
  InPool(const InPool&) = delete;
  InPool& operator=(const InPool&) = delete;
  ~InPool();

 private:
  void* m_pool;
};

}  // namespace probe

#endif  // QEL_TESTS_MACPROBE_POOL_H_
