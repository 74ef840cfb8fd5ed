#import <Foundation/Foundation.h>

#include <climits>

#include "tests/macprobe/Check.h"
#import "tests/macprobe/Words.h"

namespace probe {

namespace {

std::string ExecutablePath() {
  // The process is started by its resolved path.
  NSString *path = [[NSBundle mainBundle] executablePath];
  return [path isEqualToString:[[[NSProcessInfo processInfo] arguments] objectAtIndex:0]] ? "the running program"
                                                                                          : Words(path);
}

std::string JoinedPath() {
  return Words([@"/a/Contents/MacOS" stringByAppendingPathComponent:@"/../Frameworks/x"]);
}

std::string NilInADictionary() {
  return RaisedBy(+[] {
    NSString *none = nil;
    [[NSMutableDictionary dictionary] setObject:(id _Nonnull)none forKey:@"key"];
  });
}

std::string IndexPastTheEnd() {
  return RaisedBy(+[] { (void)[[NSArray arrayWithObject:@"one"] objectAtIndex:1]; });
}

std::string ErrorWithoutUserInfo() {
  return Words(@([[[NSError errorWithDomain:@"Probe" code:1 userInfo:nil] userInfo] count]));
}

std::string NumbersOfOtherTypesAsKeys() {
  NSDictionary *constraints = @{@(static_cast<NSInteger>(2)) : @"found"};
  return Words([constraints objectForKey:@(static_cast<unsigned long long>(2))]);
}

std::string LargeNumbers() {
  return YesOrNo([[NSNumber numberWithUnsignedLong:ULONG_MAX] unsignedLongValue] == ULONG_MAX);
}

std::string FreshDataIsZero() {
  return Hex([NSMutableData dataWithLength:4]);
}

std::string BytesOfNothing() {
  return [[NSMutableData data] mutableBytes] == nullptr ? "NULL" : "a place";
}

std::string EqualMutableData() {
  NSData *fixed = [NSData dataWithBytes:"\x10\x20" length:2];
  NSMutableData *other = [NSMutableData dataWithData:fixed];
  return YesOrNo([fixed isEqual:other] && [other isEqual:fixed] && [fixed hash] == [other hash]);
}

}  // namespace

std::vector<Check> FoundationChecks() {
  return {
      {"foundation.executable-path", "the running program", nullptr,
       "the extension would look for the maker's library in the wrong folder", ExecutablePath},
      {"foundation.path-with-a-way-up", "/a/Contents/MacOS/../Frameworks/x", nullptr,
       "the path of the maker's library would differ in the log, or be wrong", JoinedPath},
      {"foundation.nil-value-raises", "NSInvalidArgumentException", nullptr,
       "an error message that is no UTF-8 is left out of the error, to no end", NilInADictionary},
      {"foundation.index-past-the-end-raises", "NSRangeException", nullptr,
       "a key of a second slot on a token with one slot would not raise", IndexPastTheEnd},
      {"foundation.error-without-user-info", "0", nullptr, "tests of errors without a message would differ",
       ErrorWithoutUserInfo},
      {"foundation.numbers-of-other-types-are-equal-keys", "found", nullptr,
       "the constraint of an operation would not be found, and no PIN asked for", NumbersOfOtherTypesAsKeys},
      {"foundation.slot-numbers-keep-64-bits", "yes", nullptr, "slots with large numbers would be lost", LargeNumbers},
      {"foundation.fresh-data-is-zero", "00000000", nullptr,
       "a result shorter than announced would end in chance bytes", FreshDataIsZero},
      {"foundation.bytes-of-nothing", "NULL", nullptr, "nothing: buffers of length 0 get a place of their own",
       BytesOfNothing},
      {"foundation.mutable-data-is-equal", "yes", nullptr, "keys would not be found by their identifiers",
       EqualMutableData},
  };
}

}  // namespace probe
