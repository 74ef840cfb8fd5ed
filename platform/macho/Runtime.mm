// What Apple's compiler calls of Apple's Objective-C runtime, done with GCC's.

#import <CryptoTokenKit/CryptoTokenKit.h>
#import <Foundation/Foundation.h>
#include <objc/message.h>
#include <objc/runtime.h>

/// A protocol exists in GCC's runtime when a class adopts it. There are no objects of this one.
@interface QELAdoptedProtocols : NSObject <TKSmartCardTokenDriverDelegate, TKTokenDelegate, TKTokenSessionDelegate>
@end

#pragma clang diagnostic ignored "-Wprotocol"
#pragma clang diagnostic ignored "-Wobjc-protocol-property-synthesis"
@implementation QELAdoptedProtocols
@end

extern "C" {

void objc_setProperty(id self, SEL setter, ptrdiff_t offset, id value, BOOL isAtomic, BOOL copies);

/// `super` names the class that the method stands in, not the one above it. `receiver` is where the first argument of
/// the method comes from.
IMP macos_super_lookup(struct objc_super *super, SEL selector, id *receiver) {
  struct objc_super above = {super->self, class_getSuperclass(super->super_class)};
  *receiver = super->self;
  return objc_msg_lookup_super(&above, selector);
}

id macos_objc_alloc(Class of) {
  return [of alloc];
}
id macos_objc_alloc_init(Class of) {
  return [[of alloc] init];
}
id macos_objc_retain(id object) {
  return [object retain];
}
void macos_objc_release(id object) {
  [object release];
}
id macos_objc_autorelease(id object) {
  return [object autorelease];
}
void *macos_objc_autoreleasePoolPush() {
  return [[NSAutoreleasePool alloc] init];
}
void macos_objc_autoreleasePoolPop(void *pool) {
  [static_cast<NSAutoreleasePool *>(pool) release];
}

void macos_objc_setProperty_atomic(id self, SEL setter, id value, ptrdiff_t offset) {
  objc_setProperty(self, setter, offset, value, YES, NO);
}

/// GCC's runtime hands the handler the object itself, so that there is nothing to take out of it, nor to give back.
id macos_objc_begin_catch(void *object) {
  return static_cast<id>(object);
}

void macos_objc_end_catch() {}

/// What empty classes of the image point to.
void *macos_objc_empty_cache[2];
}
