#import "platform/src/Foundation/ExceptionSeam.h"

NSException *QELExceptionRaisedBy(void (*body)(void *), void *context) {
  @try {
    body(context);
  } @catch (NSException *exception) {
    return exception;
  }
  return nil;
}
