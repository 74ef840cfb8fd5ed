#import "token/QELToken.h"

#include "log/TokenLog.h"

@implementation QELToken (Logging)

- (void)initLogging {
  QELTok::InitLogging();
}

@end
