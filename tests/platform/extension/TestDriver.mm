// An extension for tests of the process it runs in. What it does is chosen by the names in the requests.

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <cstdio>
#include <string>

#include "platform/wire/Hex.h"

namespace {

struct SaysGoodbye {
  ~SaysGoodbye() { std::fputs("static objects were destroyed\n", stderr); }
};
const SaysGoodbye s_saysGoodbye;

BOOL Fail(NSError **error, NSInteger code) {
  *error = [NSError errorWithDomain:TKErrorDomain
                               code:code
                           userInfo:@{NSLocalizedDescriptionKey : @"refused by the test's extension"}];
  return NO;
}

NSData *Bytes(const char *hex) {
  const auto bytes = Wire::FromHex(hex);
  return bytes ? [NSData dataWithBytes:bytes->data() length:bytes->size()] : nil;
}

}  // namespace

@interface TestDriver : TKSmartCardTokenDriver <TKSmartCardTokenDriverDelegate>
@end

@interface TestToken : TKSmartCardToken <TKTokenDelegate>
@end

@interface TestSession : TKSmartCardTokenSession <TKTokenSessionDelegate> {
  BOOL m_loggedIn;
}
@property(assign) BOOL loggedIn;
@end

@interface TestPINOperation : TKTokenSmartCardPINAuthOperation {
  TestSession *m_session;
}
- (instancetype)initWithSession:(TestSession *)session;
@end

@implementation TestDriver

- (TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
          createTokenForSmartCard:(TKSmartCard *)smartCard
                              AID:(NSData *)AID
                            error:(NSError **)error {
  NSString *reader = [[smartCard slot] name];
  if ([reader isEqual:@"foreign card"]) {
    return nil;
  }
  if ([reader isEqual:@"broken card"]) {
    Fail(error, TKErrorCodeCommunicationError);
    return nil;
  }
  if ([reader isEqual:@"raising card"]) {
    [NSException raise:@"TestException" format:@"raised for %@", reader];
  }
  return [[[TestToken alloc] initWithSmartCard:smartCard AID:AID instanceID:@"TEST-1" tokenDriver:driver] autorelease];
}

- (void)tokenDriver:(TKTokenDriver *)driver terminateToken:(TKToken *)token {
  (void)driver;
  (void)token;
  std::fputs("token was terminated\n", stderr);
}

@end

@implementation TestToken

/// The reader's name is the card's certificate in hexadecimal; another name is a card without one, and that of an
/// endless card has a label that no message can hold.
- (instancetype)initWithSmartCard:(TKSmartCard *)smartCard
                              AID:(NSData *)AID
                       instanceID:(NSString *)instanceID
                      tokenDriver:(TKSmartCardTokenDriver *)tokenDriver {
  self = [super initWithSmartCard:smartCard AID:AID instanceID:instanceID tokenDriver:tokenDriver];
  if ([[[smartCard slot] name] isEqual:@"endless card"]) {
    TKTokenKeychainItem *item = [[[TKTokenKeychainKey alloc] initWithCertificate:NULL
                                                                        objectID:Bytes("1201")] autorelease];
    [item setLabel:[@"" stringByPaddingToLength:17 * 1024 * 1024 withString:@"label" startingAtIndex:0]];
    [[self keychainContents] fillWithItems:@[ item ]];
  }
  NSData *der = Bytes([[[smartCard slot] name] UTF8String]);
  if (!self || !der) {
    return self;
  }
  SecCertificateRef certificate = SecCertificateCreateWithData(NULL, (CFDataRef)der);
  TKTokenKeychainCertificate *certificateItem =
      [[[TKTokenKeychainCertificate alloc] initWithCertificate:certificate objectID:Bytes("1101")] autorelease];
  TKTokenKeychainKey *keyItem = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate
                                                                        objectID:Bytes("1201")] autorelease];
  CFRelease(certificate);
  [keyItem setCanSign:YES];
  [keyItem setSuitableForLogin:YES];
  [keyItem setConstraints:@{
    @(TKTokenOperationSignData) : @"PINAlways",
    @(TKTokenOperationDecryptData) : [NSNumber numberWithBool:NO]
  }];
  [[self keychainContents] fillWithItems:@[ certificateItem, keyItem ]];
  return self;
}

- (void)dealloc {
  std::fputs("token was freed\n", stderr);
  [super dealloc];
}

- (TKTokenSession *)token:(TKToken *)token createSessionWithError:(NSError **)error {
  (void)error;
  return [[[TestSession alloc] initWithToken:token] autorelease];
}

- (void)token:(TKToken *)token terminateSession:(TKTokenSession *)session {
  (void)token;
  (void)session;
  std::fputs("session was terminated\n", stderr);
}

@end

@implementation TestSession

@synthesize loggedIn = m_loggedIn;

- (void)dealloc {
  std::fputs("session was freed\n", stderr);
  [super dealloc];
}

- (BOOL)tokenSession:(TKTokenSession *)session
    supportsOperation:(TKTokenOperation)operation
             usingKey:(TKTokenObjectID)keyObjectID
            algorithm:(TKTokenKeyAlgorithm *)algorithm {
  (void)session;
  return operation == TKTokenOperationSignData && [keyObjectID isEqual:Bytes("1201")] &&
         [algorithm isAlgorithm:kSecKeyAlgorithmRSASignatureRaw] &&
         [algorithm supportsAlgorithm:kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw];
}

/// Signs by turning the bytes around.
- (NSData *)tokenSession:(TKTokenSession *)session
                signData:(NSData *)dataToSign
                usingKey:(TKTokenObjectID)keyObjectID
               algorithm:(TKTokenKeyAlgorithm *)algorithm
                   error:(NSError **)error {
  (void)session;
  (void)algorithm;
  if ([keyObjectID isEqual:Bytes("12ee")]) {
    [[NSArray array] objectAtIndex:3];
  }
  if ([keyObjectID isEqual:Bytes("12dd")]) {
    return nil;
  }
  if (!m_loggedIn) {
    Fail(error, TKErrorCodeAuthenticationNeeded);
    return nil;
  }
  const auto *bytes = static_cast<const uint8_t *>([dataToSign bytes]);
  const std::string turned(std::reverse_iterator(bytes + [dataToSign length]), std::reverse_iterator(bytes));
  return [NSData dataWithBytes:turned.data() length:turned.size()];
}

/// The "secret" is the public key, the size and the information behind each other.
- (NSData *)tokenSession:(TKTokenSession *)session
    performKeyExchangeWithPublicKey:(NSData *)otherPartyPublicKeyData
                           usingKey:(TKTokenObjectID)objectID
                          algorithm:(TKTokenKeyAlgorithm *)algorithm
                         parameters:(TKTokenKeyExchangeParameters *)parameters
                              error:(NSError **)error {
  (void)session;
  (void)objectID;
  (void)algorithm;
  (void)error;
  NSMutableData *secret = [NSMutableData dataWithData:otherPartyPublicKeyData];
  const auto size = static_cast<uint8_t>([parameters requestedSize]);
  [secret appendBytes:&size length:1];
  if ([parameters sharedInfo]) {
    [secret appendData:[parameters sharedInfo]];
  }
  return secret;
}

- (TKTokenAuthOperation *)tokenSession:(TKTokenSession *)session
                 beginAuthForOperation:(TKTokenOperation)operation
                            constraint:(TKTokenOperationConstraint)constraint
                                 error:(NSError **)error {
  (void)session;
  if (operation != TKTokenOperationSignData) {
    Fail(error, TKErrorCodeBadParameter);
    return nil;
  }
  if ([constraint isEqual:@"PINAlways"]) {
    return [[[TestPINOperation alloc] initWithSession:self] autorelease];
  }
  if ([constraint isEqual:@"password"]) {
    return [[[TKTokenPasswordAuthOperation alloc] init] autorelease];
  }
  return [[[TKTokenAuthOperation alloc] init] autorelease];
}

@end

@implementation TestPINOperation

- (instancetype)initWithSession:(TestSession *)session {
  self = [super init];
  if (self) {
    m_session = [session retain];
  }
  return self;
}

- (void)dealloc {
  [m_session release];
  [super dealloc];
}

- (BOOL)finishWithError:(NSError **)error {
  if (![[self PIN] isEqual:@"1234"]) {
    return Fail(error, [self PIN] ? TKErrorCodeBadParameter : TKErrorCodeCanceledByUser);
  }
  [m_session setLoggedIn:YES];
  return YES;
}

@end
