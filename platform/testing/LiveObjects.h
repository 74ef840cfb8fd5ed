#pragma once

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjectCount.h"

/// Fails the test when, at the end of its scope, more objects of exactly a class live than at its start: leak checkers
/// do not see a lost retain. Has an autorelease pool of its own for what the scope autoreleased. In a fixture, declare
/// these before the members that hold objects; on one thread, strictly nested.
class LiveObjects {
 public:
  explicit LiveObjects(Class objectClass)
      : m_pool([[NSAutoreleasePool alloc] init]), m_class(objectClass), m_before(LiveObjectCount(objectClass)) {}
  LiveObjects(const LiveObjects &) = delete;
  LiveObjects &operator=(const LiveObjects &) = delete;
  ~LiveObjects() {
    [m_pool release];
    EXPECT_EQ(Growth(), 0) << "objects of " << [NSStringFromClass(m_class) UTF8String] << " are left over";
  }

  /// Objects that have come since and are still there, those in autorelease pools included.
  long Growth() const { return LiveObjectCount(m_class) - m_before; }

 private:
  NSAutoreleasePool *m_pool;
  Class m_class;
  long m_before;
};
