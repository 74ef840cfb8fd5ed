#import <Foundation/Foundation.h>

#include <cstdarg>

#include "tests/macprobe/Check.h"
#import "tests/macprobe/Words.h"

namespace probe {

namespace {

NSString *Decoded(const char *bytes, size_t length, NSStringEncoding encoding) {
  return [[[NSString alloc] initWithBytes:bytes length:length encoding:encoding] autorelease];
}

NSString *Formatted(NSString *format, ...) NS_FORMAT_FUNCTION(1, 2);
NSString *Formatted(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  NSString *text = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
  va_end(arguments);
  return text;
}

std::string Utf8OfNull() {
  return RaisedBy(+[] {
    const char *none = nullptr;
    (void)[NSString stringWithUTF8String:(const char *_Nonnull)none];
  });
}

std::string AsciiOfHighBytes() {
  return Decoded("A\xC4", 2, NSASCIIStringEncoding) == nil ? "nil" : "a string";
}

std::string SearchWithLiterals() {
  NSString *composed = [NSString stringWithUTF8String:"R\xC3\xA9seau"];
  NSString *decomposed = [NSString stringWithUTF8String:"Re\xCC\x81seau"];
  return [composed rangeOfString:decomposed options:NSLiteralSearch].location == NSNotFound ? "not found" : "found";
}

std::string Trimmed() {
  NSString *padded = [NSString stringWithUTF8String:" \tA\xC2\xA0 "];
  return Words([padded stringByTrimmingCharactersInSet:[NSCharacterSet whitespaceCharacterSet]]);
}

std::string NewlinesStay() {
  NSString *padded = [NSString stringWithUTF8String:"A\n "];
  return YesOrNo([[padded stringByTrimmingCharactersInSet:[NSCharacterSet whitespaceCharacterSet]] length] == 2);
}

std::string CStringInAFormat() {
  return [Formatted(@"%s", "\xC3\xA4") isEqualToString:[NSString stringWithUTF8String:"\xC3\xA4"]] ? "as UTF-8"
                                                                                                   : "otherwise";
}

}  // namespace

std::vector<Check> TextChecks() {
  return {
      {"text.bad-utf8-is-nil", "nil", nullptr, "an error message that is no UTF-8 would appear in another form",
       +[] { return Words([NSString stringWithUTF8String:"a\xFF"]); }},
      {"text.bad-utf8-bytes-are-nil", "nil", nullptr, "a reader's name that is no UTF-8 would appear in another form",
       +[] { return Words(Decoded("a\xFF", 2, NSUTF8StringEncoding)); }},
      {"text.null-utf8-raises", "NSInvalidArgumentException", nullptr, "nothing: NULL is never handed on", Utf8OfNull},
      {"text.no-bytes-are-an-empty-string", "an empty string", nullptr, "a serial number of blanks would make no token",
       +[] {
         return Decoded("", 0, NSASCIIStringEncoding) == nil ? std::string("nil") : std::string("an empty string");
       }},
      {"text.ascii-of-high-bytes", "nil", nullptr, "nothing: whether a serial number is ASCII is asked of its bytes",
       AsciiOfHighBytes},
      {"text.literal-search", "not found", nullptr, "a reader could be taken for one whose name is written otherwise",
       SearchWithLiterals},
      {"text.contains-nothing", "no", "yes", "nothing: an empty reader's name is in no description",
       +[] { return YesOrNo([@"abc" containsString:@""]); }},
      {"text.trimming", "A", nullptr, "labels and serial numbers would keep their padding", Trimmed},
      {"text.trimming-keeps-newlines", "yes", nullptr, "padded fields with a newline would read otherwise",
       NewlinesStay},
      {"text.format", "7 00000AFF 9 (null)", nullptr, "lines of the token log would read otherwise",
       +[] {
         NSString *none = nil;
         return Words(Formatted(@"%d %08lX %lu %@", 7, 0xAFFUL, 9UL, none));
       }},
      {"text.c-string-in-a-format", "otherwise", "as UTF-8", "nothing: only ASCII goes through %s", CStringInAFormat},
  };
}

}  // namespace probe
