#import <Foundation/Foundation.h>
#import <Security/SecItem.h>

const CFStringRef kSecAttrKeyTypeRSA = (CFStringRef) @"42";
const CFStringRef kSecAttrKeyTypeEC = (CFStringRef) @"73";
const CFStringRef kSecAttrKeyTypeECSECPrimeRandom = (CFStringRef) @"73";
const CFStringRef kSecAttrAccessGroupToken = (CFStringRef) @"com.apple.token";
const CFStringRef kSecAttrTokenID = (CFStringRef) @"tkid";
const CFStringRef kSecAttrLabel = (CFStringRef) @"labl";
const CFStringRef kSecAttrApplicationLabel = (CFStringRef) @"klbl";
