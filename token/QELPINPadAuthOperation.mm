#import "token/QELPINPadAuthOperation.h"

#include "token/EntryLock.h"
#import "token/PerformLogin.h"
#import "token/QELTokenSession.h"

@implementation QELPINPadAuthOperation

@synthesize session = m_session;

- (instancetype)initWithSession:(QELTokenSession *)session {
  self = [super init];
  if (self != nil) m_session = [session retain];
  return self;
}

- (BOOL)finishWithError:(NSError **)error {
  const EntryLock lock;
  return performLogin(m_session, nil, error);
}

- (void)dealloc {
  [m_session release];
  [super dealloc];
}

@end
