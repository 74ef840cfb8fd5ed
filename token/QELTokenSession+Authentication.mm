#import "token/QELTokenSession.h"

#include "log/QELLog.h"
#import "token/QELAuthOperation.h"
#import "token/QELPINPadAuthOperation.h"

@implementation QELTokenSession (Authentication)

- (nullable TKTokenAuthOperation *)tokenSession:(TKTokenSession *)session
                          beginAuthForOperation:(TKTokenOperation)operation
                                     constraint:(TKTokenOperationConstraint)constraint
                                          error:(NSError **)error {
  (void)session;
  (void)operation;
  (void)constraint;
  (void)error;
  if ([self isPinPad]) {
    QELLog::Info() << "Pin pad reader ready to auth";
    return [[[QELPINPadAuthOperation alloc] initWithSession:self] autorelease];
  }
  QELLog::Info() << "Non pin pad reader ready to auth";
  return [[[QELAuthOperation alloc] initWithSession:self] autorelease];
}

@end
