#import "token/TokenKitErrors.h"

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "pkcs11/CallResult.h"

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
