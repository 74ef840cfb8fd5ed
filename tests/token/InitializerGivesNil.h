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
