#pragma once

#import <Foundation/Foundation.h>

#include <string>

#include "log/QELLog.h"

namespace Utils {

/// Formats with Foundation's directives (%@ included) and returns the text as UTF-8. Never fails.
std::string format(NSString *format, ...) NS_FORMAT_FUNCTION(1, 2);

/// Inserts the text that format() would make into `stream`; formats nothing when the stream is not live.
void log(QELLog::LogStream stream, NSString *format, ...) NS_FORMAT_FUNCTION(2, 3);

}  // namespace Utils
