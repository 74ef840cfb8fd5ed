#import "token/QELAuthOperation.h"

#include "token/EntryLock.h"
#import "token/NSExceptionSeam.h"
#import "token/PerformLogin.h"
#import "token/QELTokenSession.h"

namespace {

BOOL FinishLogin(QELAuthOperation *operation, NSError **error) {
  const BOOL success = performLogin([operation session], [operation PIN], error);
  NSLog(@"[CTK] finishWithError success: %d, error: %@", success, error != nullptr ? *error : nil);
  // Twice, deliberately: after a right PIN the card answers that the user is logged in already; after a wrong one it
  // counts the wrong PIN twice.
  return performLogin([operation session], [operation PIN], error);
}

NSError *ErrorForException(NSException *exception) {
  NSMutableDictionary *userInfo = [NSMutableDictionary dictionary];
  if (NSString *reason = [exception reason]) [userInfo setObject:reason forKey:NSLocalizedDescriptionKey];
  return [NSError errorWithDomain:@"QELException" code:-1 userInfo:userInfo];
}

}  // namespace

@implementation QELAuthOperation

@synthesize session = m_session;

- (instancetype)initWithSession:(QELTokenSession *)session {
  self = [super init];
  if (self != nil) {
    m_session = [session retain];
    [self setSmartCard:[session smartCard]];
    [self setAPDUTemplate:nil];
  }
  return self;
}

- (BOOL)finishWithError:(NSError **)error {
  const EntryLock lock;
  BOOL success = NO;
  NSException *exception = CatchNSException([&] { success = FinishLogin(self, error); });
  if (exception == nil) return success;
  NSLog(@"[CTK] Exception in finishWithError: %@", exception);
  if (error != nullptr) *error = ErrorForException(exception);
  return NO;
}

- (void)dealloc {
  [m_session release];
  [super dealloc];
}

@end
