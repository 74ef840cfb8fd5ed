#pragma once

#import "bundle/app/PublishedCertificate.h"

/// A certificate with these dates, in seconds from now, as the keychain would give it: P-256, with a key that signs
/// unless `key` is nil.
QELPublishedCertificate *AppCertificate(long fromSeconds, long toSeconds, NSDictionary *key);
QELPublishedCertificate *AppCertificate(long fromSeconds, long toSeconds);
