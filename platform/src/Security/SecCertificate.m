#import <Security/SecCertificate.h>

#import "platform/src/NotModelled.h"
#import "platform/src/Security/SecCertificatePrivate.h"

SecCertificateRef SecCertificateCreateWithData(CFAllocatorRef allocator, CFDataRef data) {
  (void)allocator;
  return (SecCertificateRef)[[QELCertificate alloc] initWithData:(NSData *)data];
}

CFDataRef SecCertificateCopyData(SecCertificateRef certificate) {
  return (CFDataRef)[[(QELCertificate *)certificate data] retain];
}

CFStringRef SecCertificateCopySubjectSummary(SecCertificateRef certificate) {
  return (CFStringRef)[[(QELCertificate *)certificate subjectSummary] retain];
}

const CFStringRef kSecPropertyKeyValue = (CFStringRef) @"value";
const CFStringRef kSecOIDX509V1ValidityNotBefore = (CFStringRef) @"2.16.840.1.113741.2.1.1.1.6";
const CFStringRef kSecOIDX509V1ValidityNotAfter = (CFStringRef) @"2.16.840.1.113741.2.1.1.1.7";

CFDictionaryRef SecCertificateCopyValues(SecCertificateRef certificate, CFArrayRef keys, CFErrorRef *error) {
  (void)error;
  NSMutableDictionary *values = [[NSMutableDictionary alloc] init];
  for (NSString *key in (NSArray *)keys) {
    NSNumber *date = nil;
    if ([key isEqual:(NSString *)kSecOIDX509V1ValidityNotBefore]) {
      date = [(QELCertificate *)certificate notBefore];
    } else if ([key isEqual:(NSString *)kSecOIDX509V1ValidityNotAfter]) {
      date = [(QELCertificate *)certificate notAfter];
    } else {
      QEL_NOT_MODELLED(key);
    }
    if (date != nil) {
      [values setObject:@{(NSString *)kSecPropertyKeyValue : date} forKey:key];
    }
  }
  return (CFDictionaryRef)values;
}

SecKeyRef SecCertificateCopyKey(SecCertificateRef certificate) {
  (void)certificate;
  QEL_NOT_MODELLED(@"SecCertificateCopyKey");
  return NULL;
}
