#import "platform/testing/SecKeyPrivate.h"

#import <Foundation/Foundation.h>

const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureRawCCUnit = (CFStringRef) @"algid:sign:RSA:raw-cc";
