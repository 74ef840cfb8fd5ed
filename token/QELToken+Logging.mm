#import "token/QELToken.h"

@implementation QELToken (Logging)

- (void)initLogging {
}

@end
