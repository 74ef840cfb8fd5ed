#include "tests/macprobe/Pool.h"

#import <Foundation/Foundation.h>

namespace probe {

InPool::InPool() : m_pool([[NSAutoreleasePool alloc] init]) {}

InPool::~InPool() {
  [static_cast<NSAutoreleasePool *>(m_pool) release];
}

}  // namespace probe
