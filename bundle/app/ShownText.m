#import "bundle/app/ShownText.h"

static const NSUInteger kLongest = 200;
static const unichar kReplacement = 0xFFFD;
static const unichar kEllipsis = 0x2026;

static BOOL IsShown(unichar character) {
  const BOOL control = character < 0x20 || (character >= 0x7F && character < 0xA0);
  // Soft hyphen, zero-width and directional marks, line and paragraph separators, byte order mark.
  const BOOL formatting = character == 0xAD || character == 0x61C || (character >= 0x200B && character <= 0x200F) ||
                          (character >= 0x2028 && character <= 0x202E) ||
                          (character >= 0x2060 && character <= 0x206F) || character == 0xFEFF ||
                          (character >= 0xFFF9 && character <= 0xFFFB);
  return !control && !formatting;
}

NSString *QELShownLine(NSString *line) {
  NSMutableString *shown = [NSMutableString stringWithCapacity:[line length]];
  for (NSUInteger i = 0; i < [line length]; ++i) {
    unichar character = [line characterAtIndex:i];
    character = IsShown(character) ? character : kReplacement;
    [shown appendString:[NSString stringWithCharacters:&character length:1]];
  }
  return shown;
}

NSString *QELShownText(id text) {
  if (![text isKindOfClass:[NSString class]]) {
    return @"";
  }
  if ([text length] <= kLongest) {
    return QELShownLine(text);
  }
  return [QELShownLine([text substringToIndex:kLongest])
      stringByAppendingString:[NSString stringWithCharacters:&kEllipsis length:1]];
}
