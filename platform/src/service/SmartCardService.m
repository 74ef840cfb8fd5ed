#import "platform/src/service/SmartCardService.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

extern char **environ;

static NSString *const kServiceDidChange = @"QELSmartCardServiceDidChange";

static QELSmartCardService *theService = nil;

static void EndService(void) {
  [QELSmartCardService end];
}

@interface QELServiceToken (Making)
- (instancetype)initWithID:(NSString *)tokenID
                    reader:(NSString *)reader
                    driver:(nullable NSString *)driver
                     items:(NSArray *)items;
@end

@implementation QELServiceToken

@synthesize tokenID = m_tokenID;
@synthesize reader = m_reader;
@synthesize driver = m_driver;
@synthesize items = m_items;

- (instancetype)initWithID:(NSString *)tokenID
                    reader:(NSString *)reader
                    driver:(NSString *)driver
                     items:(NSArray *)items {
  self = [super init];
  if (self) {
    m_tokenID = [tokenID copy];
    m_reader = [reader copy];
    m_driver = [driver copy];
    m_items = [items copy];
  }
  return self;
}

- (void)dealloc {
  [m_tokenID release];
  [m_reader release];
  [m_driver release];
  [m_items release];
  [super dealloc];
}

@end

@implementation QELSmartCardService

@synthesize readers = m_readers;
@synthesize tokens = m_tokens;

+ (QELSmartCardService *)sharedService {
  const char *program = getenv("QEL_CTKHOST");
  if (!theService && program && *program) {
    static int atExit = -1;
    if (atExit != 0) {
      atExit = atexit(EndService);
    }
    theService = [[self alloc] initWithProgram:[NSString stringWithUTF8String:program]];
  }
  return theService;
}

+ (void)end {
  [theService release];
  theService = nil;
}

+ (void)tellOfChanges:(id)follower {
  [[NSNotificationCenter defaultCenter] addObserver:follower
                                           selector:@selector(serviceDidChange)
                                               name:kServiceDidChange
                                             object:nil];
}

/// This process's own, as it is now; Foundation's is that of its start.
static NSDictionary *Environment(void) {
  NSMutableDictionary *environment = [NSMutableDictionary dictionary];
  for (char **entry = environ; *entry != NULL; ++entry) {
    const char *value = strchr(*entry, '=');
    if (value != NULL) {
      NSString *name = [[[NSString alloc] initWithBytes:*entry
                                                 length:(NSUInteger)(value - *entry)
                                               encoding:NSUTF8StringEncoding] autorelease];
      NSString *text = [NSString stringWithUTF8String:value + 1];
      if (name != nil && text != nil) {
        [environment setObject:text forKey:name];
      }
    }
  }
  return environment;
}

static NSTask *Task(NSString *program, NSArray *arguments, NSPipe *output) {
  NSTask *task = [[[NSTask alloc] init] autorelease];
  [task setLaunchPath:program];
  [task setArguments:arguments];
  [task setEnvironment:Environment()];
  [task setStandardInput:[NSFileHandle fileHandleWithNullDevice]];
  [task setStandardOutput:output];
  [task setStandardError:[NSFileHandle fileHandleWithNullDevice]];
  return task;
}

static NSArray *ReadersNow(NSString *program) {
  NSPipe *output = [NSPipe pipe];
  NSTask *task = Task(program, @[ @"--json", @"readers" ], output);
  [task launch];
  NSData *answer = [[output fileHandleForReading] readDataToEndOfFile];
  [task waitUntilExit];
  id readers = [answer length] > 0 ? [NSJSONSerialization JSONObjectWithData:answer options:0 error:NULL] : nil;
  return [readers isKindOfClass:[NSArray class]] ? [readers valueForKey:@"name"] : @[];
}

- (instancetype)initWithProgram:(NSString *)program {
  self = [super init];
  if (!self) {
    return nil;
  }
  m_unread = [[NSMutableData alloc] init];
  m_readers = [[NSMutableArray alloc] init];
  m_states = [[NSMutableDictionary alloc] init];
  m_tokens = [[NSMutableArray alloc] init];
  NSString *build = [[program stringByDeletingLastPathComponent] stringByDeletingLastPathComponent];
  m_extension = [[NSDictionary
      dictionaryWithContentsOfFile:[build stringByAppendingPathComponent:@"QELToken.appex/Contents/Info.plist"]]
      retain];

  NSPipe *output = [NSPipe pipe];
  // The watch must not outlive this process, however that ends.
  m_watch = [Task(@"/usr/bin/setpriv", @[ @"--pdeathsig", @"TERM", program, @"--json", @"watch" ], output) retain];
  NSArray *expected = ReadersNow(program);
  [m_watch launch];
  m_events = [[output fileHandleForReading] retain];
  while (![self hasSettled:expected] && [self readEvents:[m_events availableData]]) {
  }
  [[NSNotificationCenter defaultCenter] addObserver:self
                                           selector:@selector(eventsArrived:)
                                               name:NSFileHandleReadCompletionNotification
                                             object:m_events];
  [m_events readInBackgroundAndNotify];
  return self;
}

- (void)dealloc {
  [[NSNotificationCenter defaultCenter] removeObserver:self];
  [m_watch terminate];
  [m_watch waitUntilExit];
  [m_watch release];
  [m_events release];
  [m_unread release];
  [m_readers release];
  [m_states release];
  [m_tokens release];
  [m_extension release];
  [super dealloc];
}

- (TKSmartCardSlotState)stateOfReader:(NSString *)reader {
  return [[m_states objectForKey:reader] integerValue];
}

- (QELServiceToken *)tokenWithID:(NSString *)tokenID {
  for (QELServiceToken *token in m_tokens) {
    if ([[token tokenID] isEqual:tokenID]) {
      return token;
    }
  }
  return nil;
}

- (BOOL)hasSettled:(NSArray *)readers {
  for (NSString *reader in readers) {
    const TKSmartCardSlotState state = [self stateOfReader:reader];
    if (state == TKSmartCardSlotStateMissing || state == TKSmartCardSlotStateProbing) {
      return NO;
    }
  }
  return YES;
}

- (void)eventsArrived:(NSNotification *)notification {
  if ([self readEvents:[[notification userInfo] objectForKey:NSFileHandleNotificationDataItem]]) {
    [m_events readInBackgroundAndNotify];
  }
  [[NSNotificationCenter defaultCenter] postNotificationName:kServiceDidChange object:self];
}

/// NO when there will be no more.
- (BOOL)readEvents:(NSData *)data {
  if ([data length] == 0) {
    return NO;
  }
  [m_unread appendData:data];
  NSUInteger begin = 0;
  const char *bytes = [m_unread bytes];
  for (NSUInteger at = 0; at < [m_unread length]; ++at) {
    if (bytes[at] == '\n') {
      NSData *line = [m_unread subdataWithRange:NSMakeRange(begin, at - begin)];
      id event = [NSJSONSerialization JSONObjectWithData:line options:0 error:NULL];
      if ([event isKindOfClass:[NSDictionary class]]) {
        [self follow:event];
      }
      begin = at + 1;
    }
  }
  [m_unread replaceBytesInRange:NSMakeRange(0, begin) withBytes:NULL length:0];
  return YES;
}

- (void)follow:(NSDictionary *)event {
  NSString *kind = [event objectForKey:@"event"];
  NSString *reader = [event objectForKey:@"reader"];
  if ([kind isEqual:@"reader"]) {
    [self reader:reader became:[event objectForKey:@"state"]];
  } else if ([kind isEqual:@"failed"]) {
    [self setState:TKSmartCardSlotStateValidCard ofReader:reader];
  } else if ([kind isEqual:@"token"]) {
    [self addToken:[event objectForKey:@"token"]];
  } else if ([kind isEqual:@"ended"]) {
    [m_tokens removeObject:[self tokenWithID:[self tokenIDOf:[event objectForKey:@"instanceID"]]]];
  }
}

- (void)reader:(NSString *)reader became:(NSString *)state {
  if ([state isEqual:@"gone"]) {
    [m_readers removeObject:reader];
    [m_states removeObjectForKey:reader];
    return;
  }
  if (![m_readers containsObject:reader]) {
    [m_readers addObject:reader];
  }
  [self setState:[state isEqual:@"card"] ? TKSmartCardSlotStateProbing : TKSmartCardSlotStateEmpty ofReader:reader];
}

- (void)setState:(TKSmartCardSlotState)state ofReader:(NSString *)reader {
  [m_states setObject:[NSNumber numberWithInteger:state] forKey:reader];
}

- (void)addToken:(NSDictionary *)described {
  NSString *reader = [described objectForKey:@"reader"];
  QELServiceToken *token = [[QELServiceToken alloc] initWithID:[self tokenIDOf:[described objectForKey:@"instanceID"]]
                                                        reader:reader
                                                        driver:[m_extension objectForKey:@"CFBundleDisplayName"]
                                                         items:[described objectForKey:@"items"]];
  [m_tokens addObject:token];
  [token release];
  [self setState:TKSmartCardSlotStateValidCard ofReader:reader];
}

- (NSString *)tokenIDOf:(NSString *)instanceID {
  NSDictionary *attributes = [[m_extension objectForKey:@"NSExtension"] objectForKey:@"NSExtensionAttributes"];
  return [NSString stringWithFormat:@"%@:%@", [attributes objectForKey:@"com.apple.ctk.class-id"], instanceID];
}

@end
