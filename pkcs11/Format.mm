#import "pkcs11/Format.h"

#include <cstdarg>

namespace {

std::string FormatArguments(NSString *format, va_list arguments) NS_FORMAT_FUNCTION(1, 0);

std::string FormatArguments(NSString *format, va_list arguments) {
  NSString *text = [[[NSString alloc] initWithFormat:format arguments:arguments] autorelease];
  // Asked first: for text that UTF-8 cannot hold (half of a surrogate pair) UTF8String is null or raises, by platform.
  return [text canBeConvertedToEncoding:NSUTF8StringEncoding] ? [text UTF8String] : "";
}

}  // namespace

std::string Utils::format(NSString *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = FormatArguments(format, arguments);
  va_end(arguments);
  return text;
}

void Utils::log(QELLog::LogStream stream, NSString *format, ...) {
  if (!stream.IsLive()) return;
  va_list arguments;
  va_start(arguments, format);
  stream << FormatArguments(format, arguments);
  va_end(arguments);
}
