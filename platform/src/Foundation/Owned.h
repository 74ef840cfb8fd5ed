#pragma once

#import <Foundation/Foundation.h>

#include <utility>

/// Keeps an Objective-C object alive: retains it when made, releases it when destroyed. T is the class or `NSObject`.
template <class T>
class Owned {
 public:
  explicit Owned(T *object) : m_object([object retain]) {}
  Owned(Owned &&other) noexcept : m_object(std::exchange(other.m_object, nil)) {}
  Owned &operator=(Owned &&) = delete;
  ~Owned() { [m_object release]; }

  T *get() const { return m_object; }

 private:
  T *m_object;
};

/// An autorelease pool for a scope, also when an exception leaves it.
class ScopedPool {
 public:
  ScopedPool() : m_pool([[NSAutoreleasePool alloc] init]) {}
  ScopedPool(const ScopedPool &) = delete;
  ScopedPool &operator=(const ScopedPool &) = delete;
  ~ScopedPool() { [m_pool release]; }

 private:
  NSAutoreleasePool *m_pool;
};
