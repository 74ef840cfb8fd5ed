#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>

const CFAllocatorRef kCFAllocatorDefault = NULL;

static id ObjectOf(CFTypeRef cf, NSString *caller) {
  if (!cf) {
    [NSException raise:NSInvalidArgumentException format:@"%@ of NULL", caller];
  }
  return (id)cf;
}

CFTypeRef CFRetain(CFTypeRef cf) {
  return [ObjectOf(cf, @"CFRetain") retain];
}

void CFRelease(CFTypeRef cf) {
  [ObjectOf(cf, @"CFRelease") release];
}
