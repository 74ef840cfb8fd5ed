#pragma once

#import <Foundation/Foundation.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// Stores the CryptoTokenKit error that stands for a failed card call: cancelled, wrong PIN, or not logged in. Stores
/// nothing for any other result, deliberately, and nothing when `error` is null.
void StoreTokenKitError(CK_RV rv, NSError* _Nullable* _Nullable error);

/// Stores TKErrorCodeAuthenticationNeeded, which makes CryptoTokenKit ask the user to log in and call again. Nothing
/// when `error` is null.
void StoreAuthenticationNeeded(NSError* _Nullable* _Nullable error);

/// Returns whether `rv` is CKR_OK; otherwise logs the call's result at error level and stores its error.
bool CardCallSucceeded(const char* call, CK_RV rv, NSError* _Nullable* _Nullable error);

NS_ASSUME_NONNULL_END
