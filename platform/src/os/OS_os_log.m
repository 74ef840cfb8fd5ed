#import "platform/src/os/OS_os_log.h"

@implementation OS_os_log

@synthesize subsystem = m_subsystem;
@synthesize category = m_category;

- (instancetype)initWithSubsystem:(NSString *)subsystem category:(NSString *)category {
  self = [super init];
  if (self) {
    m_subsystem = [subsystem copy];
    m_category = [category copy];
  }
  return self;
}

- (void)dealloc {
  [m_subsystem release];
  [m_category release];
  [super dealloc];
}

@end
