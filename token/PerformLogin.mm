#import "token/PerformLogin.h"

#include <cstring>

#include "log/QELLog.h"
#include "pkcs11/Calls.h"
#import "token/CardCall.h"

namespace {

/// Through a volatile pointer: the compiler may not drop writes to memory that is freed next.
void Overwrite(std::vector<CK_UTF8CHAR> &bytes) {
  volatile CK_UTF8CHAR *byte = bytes.data();
  for (size_t i = 0; i < bytes.size(); ++i) byte[i] = 0;
}

}  // namespace

PinBytes::PinBytes(NSString *PIN) {
  if (PIN == nil) return;
  // The exact length is not asked for: finding it out encodes the PIN into memory of Foundation's.
  m_bytes.resize([PIN maximumLengthOfBytesUsingEncoding:NSUTF8StringEncoding] + 1);
  auto *text = reinterpret_cast<char *>(m_bytes.data());
  if ([PIN getCString:text maxLength:m_bytes.size() encoding:NSUTF8StringEncoding]) {
    m_length = std::strlen(text);
  } else {
    Overwrite(m_bytes);  // what was written of it; the empty PIN that is left has a byte to point to
  }
}

PinBytes::~PinBytes() {
  Overwrite(m_bytes);
}

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
  TKSmartCard *card = [session loginCard] != nil ? [session loginCard] : [session smartCard];
  [card setSensitive:YES];
  [card setContext:[NSNumber numberWithBool:YES]];
  return YES;
}
