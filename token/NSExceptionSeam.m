#import "token/NSExceptionSeam.h"

NSException *QELCatchNSException(void (*body)(void *), void *context) {
  @try {
    body(context);
  } @catch (NSException *exception) {
    return [[exception retain] autorelease];
  }
  return nil;
}
