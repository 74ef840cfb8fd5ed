#pragma once

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

/// While it lives, an initializer of a class releases its receiver and gives nil, as a platform that refuses. A
/// subclass must call it through super: the runtime keeps a table of what other calls reach for each class that was in
/// use.
class InitializerGivesNil {
 public:
  InitializerGivesNil(Class owner, SEL initializer)
      : m_method(class_getInstanceMethod(owner, initializer)),
        m_original(method_setImplementation(m_method, reinterpret_cast<IMP>(&Refuse))) {}
  ~InitializerGivesNil() { method_setImplementation(m_method, m_original); }
  InitializerGivesNil(const InitializerGivesNil &) = delete;
  InitializerGivesNil &operator=(const InitializerGivesNil &) = delete;

 private:
  static id Refuse(id self, SEL) {
    [self release];
    return nil;
  }

  Method m_method;
  IMP m_original;
};

/// The same for one call only, counted from 1.
class InitializerGivesNilOnce {
 public:
  InitializerGivesNilOnce(Class owner, SEL initializer, int call)
      : m_method(class_getInstanceMethod(owner, initializer)) {
    s_left = call;
    s_original = method_setImplementation(m_method, reinterpret_cast<IMP>(&RefuseOne));
  }
  ~InitializerGivesNilOnce() { method_setImplementation(m_method, s_original); }
  InitializerGivesNilOnce(const InitializerGivesNilOnce &) = delete;
  InitializerGivesNilOnce &operator=(const InitializerGivesNilOnce &) = delete;

 private:
  static id RefuseOne(id self, SEL selector, id first, id second) {
    if (--s_left != 0) return reinterpret_cast<id (*)(id, SEL, id, id)>(s_original)(self, selector, first, second);
    [self release];
    return nil;
  }

  static inline int s_left;
  static inline IMP s_original;
  Method m_method;
};
