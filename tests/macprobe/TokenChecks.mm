#import <CryptoTokenKit/CryptoTokenKit.h>

#include "tests/macprobe/Check.h"
#import "tests/macprobe/Words.h"

@interface QELProbeDriver : TKSmartCardTokenDriver <TKSmartCardTokenDriverDelegate>
@end

@implementation QELProbeDriver

- (TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
          createTokenForSmartCard:(TKSmartCard *)smartCard
                              AID:(NSData *)AID
                            error:(NSError **)error {
  return nil;
}

@end

@interface QELProbeToken : TKToken <TKTokenDelegate>
@end

@implementation QELProbeToken

- (TKTokenSession *)token:(TKToken *)token createSessionWithError:(NSError **)error {
  return nil;
}

@end

@interface QELProbeSmartCardToken : TKSmartCardToken
@end

@implementation QELProbeSmartCardToken
@end

@interface QELProbeSession : TKTokenSession <TKTokenSessionDelegate>
@end

@implementation QELProbeSession
@end

namespace probe {

namespace {

QELProbeDriver *Driver() {
  return [[[QELProbeDriver alloc] init] autorelease];
}

QELProbeToken *Token() {
  return [[[QELProbeToken alloc] initWithTokenDriver:Driver() instanceID:@"probe"] autorelease];
}

std::string ItselfOr(id delegate, id object) {
  return delegate == object ? "itself" : Words(delegate);
}

std::string SessionsDelegate() {
  QELProbeSession *session = [[[QELProbeSession alloc] initWithToken:Token()] autorelease];
  return ItselfOr([session delegate], session);
}

std::string HalfBuilt(Class tokenClass) {
  // A construction that fails before the base class is initialized.
  [[tokenClass alloc] release];
  return "released";
}

TKTokenKeychainKey *LabelledKey(NSData *identifier, NSString *label) {
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:NULL objectID:identifier] autorelease];
  [key setLabel:label];
  return key;
}

/// What a token finds under the identifier 10 20 after it was filled with these labels, all under that identifier.
std::string FoundAmong(NSArray<NSString *> *labels) {
  TKTokenKeychainContents *contents = [Token() keychainContents];
  if (contents == nil) return "no contents";
  NSData *identifier = [NSData dataWithBytes:"\x10\x20" length:2];
  NSMutableArray *items = [NSMutableArray array];
  for (NSString *label in labels) [items addObject:LabelledKey(identifier, label)];
  [contents fillWithItems:items];
  return Words([[contents keyForObjectID:[NSMutableData dataWithData:identifier] error:NULL] label]);
}

std::string MissingKey() {
  NSError *error = nil;
  TKTokenKeychainContents *contents = [Token() keychainContents];
  if (contents == nil) return "no contents";
  id found = [contents keyForObjectID:[NSData dataWithBytes:"\x10" length:1] error:&error];
  return Words([NSString stringWithFormat:@"%@, %@ %ld", found, [error domain], static_cast<long>([error code])]);
}

std::string PinFormat() {
  TKTokenSmartCardPINAuthOperation *operation = [[[TKTokenSmartCardPINAuthOperation alloc] init] autorelease];
  TKSmartCardPINFormat *format = [operation PINFormat];
  return Words([NSString stringWithFormat:@"characters %ld, %ld to %ld, template %@",
                                          static_cast<long>([format charset]), static_cast<long>([format minPINLength]),
                                          static_cast<long>([format maxPINLength]), [operation APDUTemplate]]);
}

std::string FinishOfTheBase() {
  TKTokenAuthOperation *operation = [[[TKTokenAuthOperation alloc] init] autorelease];
  NSError *error = nil;
  return YesOrNo([operation finishWithError:&error]);
}

}  // namespace

std::vector<Check> TokenChecks() {
  return {
      {"token.driver-is-its-own-delegate", "itself", nullptr, "nothing: the product installs its own",
       +[] {
         QELProbeDriver *driver = Driver();
         return ItselfOr([driver delegate], driver);
       }},
      {"token.token-is-its-own-delegate", "itself", nullptr, "nothing: the product installs its own",
       +[] {
         QELProbeToken *token = Token();
         return ItselfOr([token delegate], token);
       }},
      {"token.session-is-its-own-delegate", "itself", nullptr, "nothing: the product installs its own",
       SessionsDelegate},
      {"token.half-built-token-can-be-released", "released", nullptr,
       "a card that is no card of ours would end the process",
       +[] { return HalfBuilt([QELProbeSmartCardToken class]); }},
      {"token.has-contents-at-once", "yes", nullptr, "nothing would be published",
       +[] { return YesOrNo([Token() keychainContents] != nil); }},
      {"contents.equal-identifiers-are-found", "key", nullptr, "no operation would find its key",
       +[] { return FoundAmong(@[ @"key" ]); }},
      {"contents.shared-identifier", "first", nullptr,
       "a renewed certificate would take the old one's place, or the other way round",
       +[] {
         return FoundAmong(@[ @"first", @"second" ]);
       }},
      {"contents.missing-key", "(null), CryptoTokenKit -6", nullptr, "a card's missing key would be reported otherwise",
       MissingKey},
      {"auth.pin-format", "characters 0, 4 to 8, template (null)", nullptr,
       "the system's dialog could refuse a PIN that the card takes, or send it to the card itself", PinFormat},
      {"auth.plain-operation-finishes", "yes", nullptr, "nothing: both operations have an end of their own",
       FinishOfTheBase},
  };
}

}  // namespace probe
