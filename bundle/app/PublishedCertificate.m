#import "bundle/app/PublishedCertificate.h"

#import <Security/Security.h>

#import "bundle/app/ShownText.h"

static NSArray *ItemsOfToken(NSString *tokenID, CFStringRef kind) {
  NSDictionary *query = @{
    (NSString *)kSecClass : (NSString *)kind,
    (NSString *)kSecAttrAccessGroup : (NSString *)kSecAttrAccessGroupToken,
    (NSString *)kSecAttrTokenID : tokenID,
    (NSString *)kSecMatchLimit : (NSString *)kSecMatchLimitAll,
    (NSString *)kSecReturnAttributes : [NSNumber numberWithBool:YES],
    (NSString *)kSecReturnData : [NSNumber numberWithBool:kind == kSecClassCertificate],
  };
  CFTypeRef items = NULL;
  return SecItemCopyMatching((CFDictionaryRef)query, &items) == errSecSuccess ? [(NSArray *)items autorelease]
                                                                              : [NSArray array];
}

static NSDate *DateIn(NSDictionary *values, CFStringRef key) {
  NSNumber *seconds = [[values objectForKey:(NSString *)key] objectForKey:(NSString *)kSecPropertyKeyValue];
  return seconds == nil ? nil : [NSDate dateWithTimeIntervalSinceReferenceDate:[seconds doubleValue]];
}

@implementation QELPublishedCertificate

@synthesize name = m_name;
@synthesize notBefore = m_notBefore;
@synthesize notAfter = m_notAfter;

+ (NSArray *)certificatesOfToken:(NSString *)tokenID {
  NSMutableDictionary *keys = [NSMutableDictionary dictionary];
  for (NSDictionary *key in ItemsOfToken(tokenID, kSecClassKey)) {
    id hash = [key objectForKey:(NSString *)kSecAttrApplicationLabel];
    if (hash != nil) {
      [keys setObject:key forKey:hash];
    }
  }
  NSMutableArray *certificates = [NSMutableArray array];
  for (NSDictionary *attributes in ItemsOfToken(tokenID, kSecClassCertificate)) {
    id hash = [attributes objectForKey:(NSString *)kSecAttrPublicKeyHash];
    NSDictionary *key = hash == nil ? nil : [keys objectForKey:hash];
    [certificates addObject:[[[self alloc] initWithAttributes:attributes key:key] autorelease]];
  }
  return certificates;
}

- (instancetype)initWithAttributes:(NSDictionary *)attributes key:(NSDictionary *)key {
  self = [super init];
  if (!self) {
    return nil;
  }
  m_name = [QELShownText([attributes objectForKey:(NSString *)kSecAttrLabel]) copy];
  m_key = [key copy];
  NSData *data = [attributes objectForKey:(NSString *)kSecValueData];
  SecCertificateRef certificate = data == nil ? NULL : SecCertificateCreateWithData(NULL, (CFDataRef)data);
  if (certificate != NULL) {
    NSArray *wanted = @[ (NSString *)kSecOIDX509V1ValidityNotBefore, (NSString *)kSecOIDX509V1ValidityNotAfter ];
    NSDictionary *values =
        [(NSDictionary *)SecCertificateCopyValues(certificate, (CFArrayRef)wanted, NULL) autorelease];
    m_notBefore = [DateIn(values, kSecOIDX509V1ValidityNotBefore) retain];
    m_notAfter = [DateIn(values, kSecOIDX509V1ValidityNotAfter) retain];
    CFRelease(certificate);
  }
  return self;
}

- (void)dealloc {
  [m_name release];
  [m_notBefore release];
  [m_notAfter release];
  [m_key release];
  [super dealloc];
}

- (BOOL)hasKey {
  return m_key != nil;
}

- (BOOL)signs {
  return [[m_key objectForKey:(NSString *)kSecAttrCanSign] boolValue];
}

// Tokens may claim either for both kinds of keys; the extension decrypts with RSA keys and agrees with the others.
- (BOOL)decrypts {
  return ![[self keyType] isEqual:@"EC"] && [[m_key objectForKey:(NSString *)kSecAttrCanDecrypt] boolValue];
}

- (BOOL)agrees {
  return ![[self keyType] isEqual:@"RSA"] && [[m_key objectForKey:(NSString *)kSecAttrCanDerive] boolValue];
}

- (NSString *)keyType {
  NSString *type = [[m_key objectForKey:(NSString *)kSecAttrKeyType] description];
  if ([type isEqual:(NSString *)kSecAttrKeyTypeRSA]) {
    return @"RSA";
  }
  return [type isEqual:(NSString *)kSecAttrKeyTypeECSECPrimeRandom] ? @"EC" : nil;
}

- (NSInteger)keySize {
  return [[m_key objectForKey:(NSString *)kSecAttrKeySizeInBits] integerValue];
}

@end
