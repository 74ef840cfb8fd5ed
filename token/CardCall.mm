#import "token/CardCall.h"

#include "pkcs11/Calls.h"

namespace {

struct ErrorRow {
  CK_RV rv;
  NSInteger code;
};

constexpr ErrorRow kErrors[] = {
    {CKR_FUNCTION_CANCELED, TKErrorCodeCanceledByUser},
    {CKR_PIN_INCORRECT, TKErrorCodeBadParameter},
    {CKR_USER_NOT_LOGGED_IN, TKErrorCodeAuthenticationNeeded},
};

void Store(NSInteger code, NSError **error) {
  if (error != nullptr) *error = [NSError errorWithDomain:TKErrorDomain code:code userInfo:nil];
}

}  // namespace

void StoreTokenKitError(CK_RV rv, NSError **error) {
  for (const ErrorRow &row : kErrors) {
    if (row.rv == rv) Store(row.code, error);
  }
}

void StoreAuthenticationNeeded(NSError **error) {
  Store(TKErrorCodeAuthenticationNeeded, error);
}

bool CardCallSucceeded(const char *call, CK_RV rv, NSError **error) {
  StoreTokenKitError(rv, error);
  return PKCS11::Succeeded(call, rv);
}

const CK_BYTE *InputBytes(NSData *data) {
  static constexpr CK_BYTE kNone = 0;
  const void *bytes = [data bytes];
  return bytes != nullptr ? static_cast<const CK_BYTE *>(bytes) : &kNone;
}

CardOutput::CardOutput(const char *call, CK_ULONG announced)
    : m_data(announced > kLargestAnswer ? nil : [NSMutableData dataWithLength:announced]) {
  if (m_data == nil) QELLog::Error() << call << "() announces no usable length";
}

CK_BYTE *CardOutput::Bytes() {
  return [m_data length] == 0 ? &m_none : static_cast<CK_BYTE *>([m_data mutableBytes]);
}
