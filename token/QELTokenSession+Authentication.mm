#import "token/QELTokenSession.h"

#include "log/QELLog.h"
#include "token/EntryLock.h"
#import "token/QELAuthOperation.h"
#import "token/QELPINPadAuthOperation.h"

@implementation QELTokenSession (Authentication)

- (nullable TKTokenAuthOperation *)tokenSession:(TKTokenSession *)session
                          beginAuthForOperation:(TKTokenOperation)operation
                                     constraint:(TKTokenOperationConstraint)constraint
                                          error:(NSError **)error {
  const EntryLock lock;
  (void)session;
  (void)operation;
  (void)constraint;
  (void)error;
  [self setLoginCard:[self smartCard]];
  if ([self isPinPad]) {
    QELLog::Info() << "Pin pad reader ready to auth";
    return [[[QELPINPadAuthOperation alloc] initWithSession:self] autorelease];
  }
  QELLog::Info() << "Non pin pad reader ready to auth";
  return [[[QELAuthOperation alloc] initWithSession:self] autorelease];
}

@end
