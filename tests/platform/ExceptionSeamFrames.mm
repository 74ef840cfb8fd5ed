#include "tests/platform/ExceptionSeamFrames.h"

#import "platform/src/Foundation/ExceptionSeam.h"

@interface SeamCaller : NSObject {
  const std::function<void()> *m_body;
}
- (instancetype)initWithBody:(const std::function<void()> &)body;
- (void)run;
- (NSComparisonResult)compare:(SeamCaller *)other;
@end

@implementation SeamCaller

- (instancetype)initWithBody:(const std::function<void()> &)body {
  self = [super init];
  if (self) {
    m_body = &body;
  }
  return self;
}

- (void)run {
  (*m_body)();
}

- (NSComparisonResult)compare:(SeamCaller *)other {
  (void)other;
  (*m_body)();
  return NSOrderedSame;
}

@end

namespace Seam {
namespace {

class Destroyed {
 public:
  explicit Destroyed(bool *flag) : m_flag(flag) {}
  ~Destroyed() { *m_flag = true; }

 private:
  bool *m_flag;
};

}  // namespace

void ThrowFailure(int code) {
  throw Failure{code};
}

void RaiseNSException() {
  [NSException raise:NSGenericException format:@"raised for the test"];
}

void RunBelowMixedFrame(const std::function<void()> &body, bool *destroyed) {
  const Destroyed guard(destroyed);
  body();
}

void RunBelowFoundation(const std::function<void()> &body) {
  SeamCaller *caller = [[[SeamCaller alloc] initWithBody:body] autorelease];
  SeamCaller *other = [[[SeamCaller alloc] initWithBody:body] autorelease];
  [[NSArray arrayWithObjects:caller, other, nil] sortedArrayUsingSelector:@selector(compare:)];
  [caller performSelector:@selector(run)];
}

bool RaisesNSException(const std::function<void()> &body) {
  return QELExceptionRaisedBy([](void *context) { (*static_cast<const std::function<void()> *>(context))(); },
                              const_cast<std::function<void()> *>(&body)) != nil;
}

bool RaisesNSExceptionInMixedFile(const std::function<void()> &body) {
  @try {
    body();
  } @catch (NSException *exception) {
    return true;
  }
  return false;
}

}  // namespace Seam
