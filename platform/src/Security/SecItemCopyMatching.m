#import <Security/SecItem.h>

#import "platform/src/Security/SecCertificatePrivate.h"
#import "platform/src/service/SmartCardService.h"

static int Nibble(unichar digit) {
  return digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10;
}

/// Of an even number of hexadecimal digits, as ctkhost writes them.
static NSData *BytesOf(NSString *hexadecimal) {
  NSMutableData *bytes = [NSMutableData dataWithLength:[hexadecimal length] / 2];
  unsigned char *byte = [bytes mutableBytes];
  for (NSUInteger i = 0; i < [bytes length]; ++i) {
    byte[i] = (unsigned char)(Nibble([hexadecimal characterAtIndex:2 * i]) << 4 |
                              Nibble([hexadecimal characterAtIndex:2 * i + 1]));
  }
  return bytes;
}

/// Of a certificate in PEM.
static NSData *DerOf(NSString *pem) {
  NSMutableString *base64 = [NSMutableString string];
  for (NSString *line in [pem componentsSeparatedByString:@"\n"]) {
    if (![line hasPrefix:@"-----"]) {
      [base64 appendString:line];
    }
  }
  return [[[NSData alloc] initWithBase64EncodedString:base64 options:0] autorelease];
}

static NSMutableDictionary *AttributesWithLabel(NSDictionary *item) {
  NSMutableDictionary *attributes = [NSMutableDictionary dictionary];
  NSString *label = [item objectForKey:@"label"];
  if ([label isKindOfClass:[NSString class]]) {
    [attributes setObject:label forKey:(NSString *)kSecAttrLabel];
  }
  return attributes;
}

static NSDictionary *CertificateAttributes(NSDictionary *item) {
  NSData *bytes = DerOf([item objectForKey:@"certificate"]);
  NSMutableDictionary *attributes = AttributesWithLabel(item);
  if (bytes == nil) {
    return attributes;
  }
  [attributes setObject:bytes forKey:(NSString *)kSecValueData];
  QELCertificate *certificate = [[[QELCertificate alloc] initWithData:bytes] autorelease];
  if ([[certificate publicKeyHash] length] > 0) {
    [attributes setObject:[certificate publicKeyHash] forKey:(NSString *)kSecAttrPublicKeyHash];
  }
  return attributes;
}

static NSDictionary *KeyAttributes(NSDictionary *item) {
  NSArray *capabilities = [item objectForKey:@"capabilities"];
  NSMutableDictionary *attributes = AttributesWithLabel(item);
  [attributes addEntriesFromDictionary:@{
    (NSString *)kSecAttrApplicationLabel : BytesOf([item objectForKey:@"publicKeyHash"]),
    (NSString *)kSecAttrKeyType : (NSString *)(
        [[item objectForKey:@"keyType"] hasPrefix:@"RSA"] ? kSecAttrKeyTypeRSA : kSecAttrKeyTypeECSECPrimeRandom),
    (NSString *)kSecAttrKeySizeInBits : [item objectForKey:@"keySizeInBits"],
    (NSString *)kSecAttrCanSign : [NSNumber numberWithBool:[capabilities containsObject:@"sign"]],
    (NSString *)kSecAttrCanDecrypt : [NSNumber numberWithBool:[capabilities containsObject:@"decrypt"]],
    (NSString *)kSecAttrCanDerive : [NSNumber numberWithBool:[capabilities containsObject:@"agree"]],
  }];
  return attributes;
}

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  NSDictionary *asked = (NSDictionary *)query;
  NSString *kind = [asked objectForKey:(NSString *)kSecClass];
  NSString *tokenID = [asked objectForKey:(NSString *)kSecAttrTokenID];
  const BOOL certificates = [kind isEqual:(NSString *)kSecClassCertificate];
  if ((!certificates && ![kind isEqual:(NSString *)kSecClassKey]) || tokenID == nil ||
      ![[asked objectForKey:(NSString *)kSecMatchLimit] isEqual:(NSString *)kSecMatchLimitAll] ||
      ![[asked objectForKey:(NSString *)kSecReturnAttributes] boolValue]) {
    return errSecUnimplemented;
  }
  NSMutableArray *found = [NSMutableArray array];
  for (NSDictionary *item in [[[QELSmartCardService sharedService] tokenWithID:tokenID] items]) {
    if ([[item objectForKey:@"kind"] isEqual:certificates ? @"certificate" : @"key"]) {
      [found addObject:certificates ? CertificateAttributes(item) : KeyAttributes(item)];
    }
  }
  if ([found count] == 0) {
    return errSecItemNotFound;
  }
  if (result != NULL) {
    *result = (CFTypeRef)[found retain];
  }
  return errSecSuccess;
}
