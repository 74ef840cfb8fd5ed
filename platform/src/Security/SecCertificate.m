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

SecKeyRef SecCertificateCopyKey(SecCertificateRef certificate) {
  (void)certificate;
  QEL_NOT_MODELLED(@"SecCertificateCopyKey");
  return NULL;
}
