#include "platform/src/Foundation/DefaultsDatabase.h"

#import <Foundation/Foundation.h>

void UseNoDefaultsDatabase() {
  NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
  NSMutableDictionary *config = GNUstepConfig(nil);
  [config setObject:@"/dev/null/no-defaults" forKey:@"GNUSTEP_USER_DEFAULTS_DIR"];
  [config setObject:@"" forKey:@"GNUSTEP_USER_CONFIG_FILE"];
  GNUstepConfig(config);
  [pool release];
}
