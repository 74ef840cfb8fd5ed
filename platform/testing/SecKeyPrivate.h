/// Steps of the algorithm walk that the system takes and an application cannot name. For the host and tests.

#pragma once

#import <Security/SecKey.h>

CF_EXPORT const SecKeyAlgorithm _Nonnull kSecKeyAlgorithmRSASignatureRawCCUnit;
