#import <Foundation/Foundation.h>

#include "tests/macprobe/Throwing.h"

namespace {

struct Witness {
  bool *destroyed;
  ~Witness() { *destroyed = true; }
};

void RaiseWithWitness(bool *destroyed) {
  const Witness witness{destroyed};
  [NSException raise:NSGenericException format:@"probe"];
}

}  // namespace

@interface QELProbeThrower : NSObject
- (void)throwWithWitness:(bool *)destroyed;
@end

@implementation QELProbeThrower

- (void)throwWithWitness:(bool *)destroyed {
  const Witness witness{destroyed};
  throw probe::Thrown{7};
}

@end

namespace probe {

void ThrowThroughObjectiveC(bool *destroyed) {
  [[[[QELProbeThrower alloc] init] autorelease] throwWithWitness:destroyed];
}

bool RaiseAcrossADestructor() {
  bool destroyed = false;
  @try {
    RaiseWithWitness(&destroyed);
  } @catch (NSException *) {
  }
  return destroyed;
}

}  // namespace probe
