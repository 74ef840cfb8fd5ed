#import "bundle/app/LogHints.h"

/// A piece of a line, and what it means.
static NSString *const kHints[][2] = {
    {@"Requested name was", @"A card was left out: the PKCS#11 library knows no reader of its reader's name."},
    {@"no slot found", @"A card was left out: the PKCS#11 library sees no reader."},
    {@"probably unsupported smart card type", @"A card was left out: the PKCS#11 library does not know its kind."},
    {@"Failed to initialize smartcard",
     @"A card was left out: it could not be read. Its line tells the reason, the line before perhaps more."},
    {@"dlopen error", @"A library could not be loaded; its line names the file."},
};

NSArray *QELLogHints(NSArray *lines) {
  NSMutableArray *hints = [NSMutableArray array];
  for (NSString *line in lines) {
    for (size_t i = 0; i < sizeof kHints / sizeof kHints[0]; ++i) {
      if ([line rangeOfString:kHints[i][0]].length > 0 && ![hints containsObject:kHints[i][1]]) {
        [hints addObject:kHints[i][1]];
      }
    }
  }
  return hints;
}
