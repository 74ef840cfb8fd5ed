// The strings that Apple's compiler writes into an image: an NSString of which only the class is found at run time.

#import <Foundation/Foundation.h>
#include <objc/runtime.h>

/// The compiler lays out the instances, and none is ever made otherwise. They are never freed.
@interface QELConstantText : NSString {
  long m_flags;
  const char *m_bytes;  ///< UTF-16 when m_flags says so, else ASCII
  long m_length;        ///< in characters
}
@end

static const long kIsWide = 0x10;

@implementation QELConstantText

- (NSUInteger)length {
  return (NSUInteger)m_length;
}

- (unichar)characterAtIndex:(NSUInteger)index {
  if (index >= (NSUInteger)m_length)
    [NSException raise:NSRangeException format:@"index %lu of %lu characters", index, m_length];
  return m_flags & kIsWide ? ((const unichar *)m_bytes)[index] : (unichar)m_bytes[index];
}

- (id)retain {
  return self;
}

- (oneway void)release {
}

- (id)autorelease {
  return self;
}

- (id)copyWithZone:(NSZone *)zone {
  (void)zone;
  return self;
}

@end
