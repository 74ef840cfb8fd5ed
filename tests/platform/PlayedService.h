#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "tests/support/TemporaryDirectory.h"

/// A ctkhost for the platform's smart-card service: a script that says what the test writes. An extension's bundle lies
/// where the build has it. Ended with this object.
class PlayedService {
 public:
  /// `readers` is what "readers" prints; `events` what "watch" has told already, a line each.
  PlayedService(const std::string &readers, const std::string &events);
  ~PlayedService();
  PlayedService(const PlayedService &) = delete;
  PlayedService &operator=(const PlayedService &) = delete;

  /// "watch" tells this, a line or several.
  void Tell(const std::string &events) const;

 private:
  TemporaryDirectory m_folder;
};

/// Runs the run loop until `isSo` or for ten seconds. Returns whether it is so.
template <class Condition>
bool RunsUntil(Condition isSo) {
  NSDate *end = [NSDate dateWithTimeIntervalSinceNow:10];
  while (!isSo() && [end timeIntervalSinceNow] > 0) {
    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
  }
  return isSo();
}

/// Counts the changes of `key` of `object` that its observers are told of.
@interface ChangeCounter : NSObject {
  NSObject *m_object;
  NSString *m_key;
  int m_count;
}
- (instancetype)initWithObject:(NSObject *)object key:(NSString *)key;
@property(readonly) int count;
@end
