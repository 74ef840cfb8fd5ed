#include "pkcs11/QELTokenException.h"

NSError *QELTokenException::ToError() const {
  NSMutableDictionary *userInfo = [NSMutableDictionary dictionary];
  // Text that is not UTF-8 gives no string; the error then says what it can, its code.
  if (NSString *description = [NSString stringWithUTF8String:message.c_str()]) {
    [userInfo setObject:description forKey:NSLocalizedDescriptionKey];
  }
  return [NSError errorWithDomain:@"QELToken" code:static_cast<NSInteger>(code) userInfo:userInfo];
}
