#import <CryptoTokenKit/TKToken.h>

#import "platform/testing/TKTesting.h"

@implementation TKTokenKeyAlgorithm

- (instancetype)initWithAlgorithms:(NSArray<NSString *> *)algorithms {
  self = [super init];
  if (self) {
    m_algorithms = [algorithms copy];
  }
  return self;
}

- (void)dealloc {
  [m_algorithms release];
  [super dealloc];
}

- (BOOL)isAlgorithm:(SecKeyAlgorithm)algorithm {
  return [[m_algorithms lastObject] isEqualToString:(NSString *)algorithm];
}

- (BOOL)supportsAlgorithm:(SecKeyAlgorithm)algorithm {
  return [m_algorithms containsObject:(NSString *)algorithm];
}

- (NSString *)description {
  return [m_algorithms componentsJoinedByString:@", "];
}

@end
