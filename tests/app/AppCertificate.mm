#include "tests/app/AppCertificate.h"

#import <Security/Security.h>

#include "tests/app/DatedCertificate.h"

QELPublishedCertificate *AppCertificate(long fromSeconds, long toSeconds, NSDictionary *key) {
  const DatedCertificate dated("Ada", fromSeconds, toSeconds);
  NSDictionary *attributes = @{
    (NSString *)kSecAttrLabel : @"Ada",
    (NSString *)kSecValueData : [NSData dataWithBytes:dated.Der().data() length:dated.Der().size()],
  };
  return [[[QELPublishedCertificate alloc] initWithAttributes:attributes key:key] autorelease];
}

QELPublishedCertificate *AppCertificate(long fromSeconds, long toSeconds) {
  return AppCertificate(fromSeconds, toSeconds, @{
    (NSString *)kSecAttrKeyType : (NSString *)kSecAttrKeyTypeECSECPrimeRandom,
    (NSString *)kSecAttrKeySizeInBits : [NSNumber numberWithInt:256],
    (NSString *)kSecAttrCanSign : [NSNumber numberWithBool:YES],
  });
}
