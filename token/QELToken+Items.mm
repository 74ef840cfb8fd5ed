#import "token/QELToken.h"

#include <iterator>

#include "pkcs11/FindObjects.h"
#import "token/NSData+QELAditions.h"
#import "token/ObjectIdentifier.h"
#import "token/TKTokenKeychainItem+QELDataFormat.h"
#include "util/UniqueHandle.h"

namespace {

/// The constraint on every operation that a key allows; CryptoTokenKit hands it back when it asks for the user's
/// authentication.
NSString *const kPINConstraint = @"PINAlways";

struct CertificateTraits {
  using Handle = SecCertificateRef;
  static Handle Invalid() { return nullptr; }
  static void Close(Handle certificate) { CFRelease(certificate); }
};
using ScopedCertificate = UniqueHandle<CertificateTraits>;

/// Nil when the bytes are not valid UTF-8; an empty label is an empty string.
NSString *LabelOf(const PKCS11::Object &object) {
  const std::string label = object.GetLabel();
  return [[[NSString alloc] initWithBytes:label.data() length:label.size() encoding:NSUTF8StringEncoding] autorelease];
}

/// What the card holds of one certificate, made into platform objects.
struct CardCertificate {
  NSData *objectID;
  NSString *label;
  ScopedCertificate certificate;

  bool IsComplete() const { return objectID != nil && label != nil && certificate; }
};

CardCertificate ReadCertificate(const PKCS11::Certificate &certificate, BOOL firstSlot) {
  NSData *value = [NSData dataWithByteArray:certificate.GetValue()];
  NSData *objectID = MakeObjectID(ObjectPrefix(ObjectKind::Certificate, firstSlot), certificate.GetID());
  NSString *label = LabelOf(certificate);
  return {objectID, label, ScopedCertificate(SecCertificateCreateWithData(nullptr, (CFDataRef)value))};
}

/// The private key is taken to be able to do what its public twin can undo. Key exchange rides on the decrypt
/// capability: an EC key that cannot decrypt does not offer it.
void SetCapabilities(TKTokenKeychainKey *key, const PKCS11::PublicKey &publicKey) {
  NSMutableDictionary<NSNumber *, TKTokenOperationConstraint> *constraints = [NSMutableDictionary dictionary];
  const auto constrain = [&](TKTokenOperation operation) {
    [constraints setObject:kPINConstraint forKey:[NSNumber numberWithInteger:operation]];
  };

  [key setCanSign:publicKey.CanVerify()];
  if ([key canSign]) constrain(TKTokenOperationSignData);
  [key setSuitableForLogin:[key canSign]];

  [key setCanDecrypt:publicKey.CanEncrypt()];
  if ([key canDecrypt]) constrain(TKTokenOperationDecryptData);

  [key setCanPerformKeyExchange:[key canDecrypt] && publicKey.IsEC()];
  if ([key canPerformKeyExchange]) constrain(TKTokenOperationPerformKeyExchange);

  [key setConstraints:constraints];
}

/// Nil when the key cannot be published.
TKTokenKeychainKey *MakeKeyItem(const PKCS11::PublicKey &publicKey, SecCertificateRef certificate, NSData *objectID) {
  NSString *label = LabelOf(publicKey);
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate
                                                                    objectID:objectID] autorelease];
  if (label == nil || key == nil) return nil;
  [key setName:label];
  SetCapabilities(key, publicKey);
  return key;
}

}  // namespace

@implementation QELToken (Items)

- (std::vector<PKCS11::Certificate>)clientCertificates:(CK_SESSION_HANDLE)session {
  CK_OBJECT_CLASS objectClass = CKO_CERTIFICATE;
  CK_ULONG category = kCertificateCategoryTokenUser;
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_CERTIFICATE_CATEGORY, &category, sizeof category},
  };
  std::vector<PKCS11::Certificate> certificates;
  for (const CK_OBJECT_HANDLE object : PKCS11::FindObjects(session, attributes, std::size(attributes))) {
    certificates.push_back({{object, session}});
  }
  return certificates;
}

- (std::unique_ptr<PKCS11::PublicKey>)findPublicKeyWithID:(const std::vector<CK_BYTE> &)keyID
                                                  session:(CK_SESSION_HANDLE)session {
  const auto key = PKCS11::FindFirstByID(session, CKO_PUBLIC_KEY, keyID.data(), keyID.size());
  return key ? std::make_unique<PKCS11::PublicKey>(PKCS11::PublicKey{{*key, session}}) : nullptr;
}

- (void)appendItemsOfSession:(CK_SESSION_HANDLE)session
                   firstSlot:(BOOL)firstSlot
                     toItems:(NSMutableArray<TKTokenKeychainItem *> *)items {
  for (const PKCS11::Certificate &certificate : [self clientCertificates:session]) {
    const CardCertificate card = ReadCertificate(certificate, firstSlot);
    if (!card.IsComplete()) continue;
    TKTokenKeychainCertificate *certificateItem =
        [[[TKTokenKeychainCertificate alloc] initWithCertificate:card.certificate.Get()
                                                        objectID:card.objectID] autorelease];
    if (certificateItem == nil) continue;
    [certificateItem setName:card.label];
    [items addObject:certificateItem];

    const std::vector<CK_BYTE> keyID = certificate.GetID();
    const auto publicKey = [self findPublicKeyWithID:keyID session:session];
    if (!publicKey) continue;
    TKTokenKeychainKey *keyItem =
        MakeKeyItem(*publicKey, card.certificate.Get(), MakeObjectID(ObjectPrefix(ObjectKind::Key, firstSlot), keyID));
    if (keyItem != nil) [items addObject:keyItem];
  }
}

@end
