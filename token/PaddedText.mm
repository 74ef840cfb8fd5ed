#import "token/PaddedText.h"

NSString *TextOfPaddedField(const CK_UTF8CHAR *field, size_t length, NSStringEncoding encoding) {
  NSString *text = [[[NSString alloc] initWithBytes:field length:length encoding:encoding] autorelease];
  return [text stringByTrimmingCharactersInSet:[NSCharacterSet whitespaceCharacterSet]];
}
