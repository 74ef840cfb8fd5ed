#import <Foundation/Foundation.h>
#import <Security/SecItem.h>

const CFStringRef kSecAttrKeyTypeRSA = (CFStringRef) @"42";
const CFStringRef kSecAttrKeyTypeEC = (CFStringRef) @"73";
const CFStringRef kSecAttrKeyTypeECSECPrimeRandom = (CFStringRef) @"73";
const CFStringRef kSecAttrAccessGroupToken = (CFStringRef) @"com.apple.token";
const CFStringRef kSecAttrTokenID = (CFStringRef) @"tkid";
const CFStringRef kSecAttrLabel = (CFStringRef) @"labl";
const CFStringRef kSecAttrApplicationLabel = (CFStringRef) @"klbl";
const CFStringRef kSecAttrPublicKeyHash = (CFStringRef) @"pkhh";
const CFStringRef kSecAttrAccessGroup = (CFStringRef) @"agrp";
const CFStringRef kSecAttrKeyType = (CFStringRef) @"type";
const CFStringRef kSecAttrKeySizeInBits = (CFStringRef) @"bsiz";
const CFStringRef kSecAttrCanSign = (CFStringRef) @"sign";
const CFStringRef kSecAttrCanDecrypt = (CFStringRef) @"decr";
const CFStringRef kSecAttrCanDerive = (CFStringRef) @"drve";

const CFStringRef kSecClass = (CFStringRef) @"class";
const CFStringRef kSecClassCertificate = (CFStringRef) @"cert";
const CFStringRef kSecClassKey = (CFStringRef) @"keys";
const CFStringRef kSecMatchLimit = (CFStringRef) @"m_Limit";
const CFStringRef kSecMatchLimitAll = (CFStringRef) @"m_LimitAll";
const CFStringRef kSecReturnAttributes = (CFStringRef) @"r_Attributes";
const CFStringRef kSecReturnData = (CFStringRef) @"r_Data";
const CFStringRef kSecValueData = (CFStringRef) @"v_Data";
