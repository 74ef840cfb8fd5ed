#import "token/PerformLogin.h"

#include "log/QELLog.h"
#include "pkcs11/CallResult.h"
#include "pkcs11/FunctionList.h"
#import "token/PinBytes.h"
#import "token/PinPadCall.h"
#import "token/TokenKitErrors.h"

BOOL performLogin(QELTokenSession *session, NSString *PIN, NSError **error) {
  PinBytes pin(PIN);
  const CK_RV rv = CallWithPinPadDialog(session, [&] {
    return PKCS11::Functions()->C_Login([[session hCurrentPair] hSession], CKU_USER, pin.Data(), pin.Length());
  });
  QELLog::Info() << PKCS11::FormatValue("C_Login rv = %lu", rv);

  if (rv != CKR_OK && rv != CKR_USER_ALREADY_LOGGED_IN) {
    StoreTokenKitError(rv, error);
    return NO;
  }
  [[session smartCard] setSensitive:YES];
  [[session smartCard] setContext:[NSNumber numberWithBool:YES]];
  return YES;
}
