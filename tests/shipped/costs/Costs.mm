// In the place of NSExtensionMain: has the product in this process work on the library that answers at once, and tells
// what an operation costs. Prints its allocations; under callgrind writes a profile per operation, under the
// operation's name. Everything is asked as the service asks it, so that the product may be of either build.

#import <CryptoTokenKit/CryptoTokenKit.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>

#include "bench/CountedMallocs.h"
#include "bench/NullCard.h"
#include "bench/SigningKeys.h"
#import "platform/testing/TKTesting.h"

namespace {

constexpr int kWarmUps = 20;
const SigningKey kRsa = {"RSA-2048", {}, CKM_RSA_PKCS, 256, 32}, kEc = {"P-256", {}, CKM_ECDSA, 0, 32};

void Require(bool fulfilled, const char *what, NSError *error) {
  if (fulfilled) return;
  std::fprintf(stderr, "%s: %s\n", what, error != nil ? [[error description] UTF8String] : "refused");
  std::exit(1);
}

TKToken *NewToken() {
  TKSmartCardSlot *const slot = [TKSmartCardSlot slotWithName:@(NullCard::kReader)];
  TKSmartCard *const card = [[[TKSmartCard alloc] initWithSlot:slot] autorelease];
  TKSmartCardTokenDriver<TKSmartCardTokenDriverDelegate> *const driver =
      [[[NSClassFromString(@"QELTokenDriver") alloc] init] autorelease];
  NSError *error = nil;
  TKToken *const token = [driver tokenDriver:driver createTokenForSmartCard:card AID:nil error:&error];
  Require(token != nil, "no token", error);
  return [token retain];
}

TKTokenKeychainKey *Key(TKToken *token, CFStringRef type) {
  for (TKTokenKeychainItem *item in token.keychainContents.items)
    if ([item isKindOfClass:[TKTokenKeychainKey class]] &&
        [((TKTokenKeychainKey *)item).keyType isEqual:(NSString *)type])
      return (TKTokenKeychainKey *)item;
  Require(false, "no key", nil);
  return nil;
}

template <typename Operation>
void Tell(const char *name, const Operation &operation) {
  const auto inPool = [&] {
    @autoreleasepool {
      operation();
    }
  };
  for (int i = 0; i < kWarmUps; ++i) inPool();
  const size_t before = CountedMallocs();
  inPool();
  std::printf("%s: %zu allocations\n", name, CountedMallocs() - before);
  CALLGRIND_ZERO_STATS;
  CALLGRIND_START_INSTRUMENTATION;
  inPool();
  CALLGRIND_DUMP_STATS_AT(name);
  CALLGRIND_STOP_INSTRUMENTATION;
}

void TellOfSignatures(TKToken *token) {
  TKTokenSession<TKTokenSessionDelegate> *const session =
      (id)[[(id<TKTokenDelegate>)token token:token createSessionWithError:nullptr] retain];
  const auto sign = [&](NSData *data, TKTokenKeychainKey *key, NSArray *names) {
    auto *const algorithm = [[TKTokenKeyAlgorithm alloc] initWithAlgorithms:names];
    return [=] {
      NSError *error = nil;
      NSData *const signature = [session tokenSession:session
                                             signData:data
                                             usingKey:key.objectID
                                            algorithm:algorithm
                                                error:&error];
      Require(signature != nil, "no signature", error);
    };
  };
  const auto input = [](const SigningKey &key) {
    const auto bytes = key.PlatformInput();
    return [[NSData alloc] initWithBytes:bytes.data() length:bytes.size()];
  };
  Tell("RSA-2048 signature", sign(input(kRsa), Key(token, kSecAttrKeyTypeRSA), @[
         (NSString *)kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, (NSString *)kSecKeyAlgorithmRSASignatureRaw
       ]));
  Tell("P-256 signature", sign(input(kEc), Key(token, kSecAttrKeyTypeECSECPrimeRandom),
                               @[ (NSString *)kSecKeyAlgorithmECDSASignatureDigestX962 ]));
}

}  // namespace

extern "C" int NSExtensionMain(int argc, char **argv) {
  (void)argc;
  (void)argv;
  @autoreleasepool {
    TKToken *const token = NewToken();
    TellOfSignatures(token);
  }
  return 0;
}
