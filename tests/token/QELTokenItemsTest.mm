#include <algorithm>

#import "tests/token/InitializerGivesNil.h"
#import "tests/token/TokenTest.h"

using TestCard::ByteString;
using TestCard::FakeCard;
using TestCard::FakeObject;
using TestCard::FakeSlot;
using TestCard::PublicKeyObject;
using TestCard::ScriptedCard;
using TestCard::TemplateRow;
using TestCard::Ulong;
using TestCard::UserCertificate;

namespace {

/// While it lives, a key item starts able to do everything, as a platform may decide for its certificate.
class KeysStartAble {
 public:
  KeysStartAble() { s_original = method_setImplementation(Initializer(), reinterpret_cast<IMP>(&MakeAble)); }
  ~KeysStartAble() { method_setImplementation(Initializer(), s_original); }
  KeysStartAble(const KeysStartAble &) = delete;
  KeysStartAble &operator=(const KeysStartAble &) = delete;

 private:
  static Method Initializer() {
    return class_getInstanceMethod([TKTokenKeychainKey class], @selector(initWithCertificate:objectID:));
  }
  static id MakeAble(id self, SEL selector, SecCertificateRef certificate, id objectID) {
    using Original = id (*)(id, SEL, SecCertificateRef, id);
    TKTokenKeychainKey *key = reinterpret_cast<Original>(s_original)(self, selector, certificate, objectID);
    [key setCanSign:YES];
    [key setCanDecrypt:YES];
    [key setCanPerformKeyExchange:YES];
    [key setSuitableForLogin:YES];
    return key;
  }
  static inline IMP s_original;
};

/// While it lives, a certificate item starts with a constraint of the platform's.
class CertificatesStartConstrained {
 public:
  CertificatesStartConstrained() {
    s_original = method_setImplementation(Initializer(), reinterpret_cast<IMP>(&MakeConstrained));
  }
  ~CertificatesStartConstrained() { method_setImplementation(Initializer(), s_original); }
  CertificatesStartConstrained(const CertificatesStartConstrained &) = delete;
  CertificatesStartConstrained &operator=(const CertificatesStartConstrained &) = delete;

  static NSDictionary *Constraints() {
    return [NSDictionary dictionaryWithObject:@"platform" forKey:[NSNumber numberWithInteger:TKTokenOperationReadData]];
  }

 private:
  static Method Initializer() {
    return class_getInstanceMethod([TKTokenKeychainCertificate class], @selector(initWithCertificate:objectID:));
  }
  static id MakeConstrained(id self, SEL selector, SecCertificateRef certificate, id objectID) {
    using Original = id (*)(id, SEL, SecCertificateRef, id);
    TKTokenKeychainItem *item = reinterpret_cast<Original>(s_original)(self, selector, certificate, objectID);
    [item setConstraints:Constraints()];
    return item;
  }
  static inline IMP s_original;
};

/// Notes how many messages of the token were logged when its items were filled in.
class NoticesTheFilling {
 public:
  explicit NoticesTheFilling(const CapturedLog &log) {
    s_log = &log;
    s_infosBefore = -1;
    // An IMP gives an object back, this gives nothing: by way of void *, newer compilers do not mind.
    s_original = method_setImplementation(Filling(), reinterpret_cast<IMP>(reinterpret_cast<void *>(&Fill)));
  }
  ~NoticesTheFilling() { method_setImplementation(Filling(), s_original); }
  NoticesTheFilling(const NoticesTheFilling &) = delete;
  NoticesTheFilling &operator=(const NoticesTheFilling &) = delete;

  int InfosBefore() const { return s_infosBefore; }

 private:
  static Method Filling() {
    return class_getInstanceMethod([TKTokenKeychainContents class], @selector(fillWithItems:));
  }
  static void Fill(id self, SEL selector, NSArray *items) {
    s_infosBefore = static_cast<int>(s_log->Infos().size());
    reinterpret_cast<void (*)(id, SEL, NSArray *)>(reinterpret_cast<void *>(s_original))(self, selector, items);
  }
  static inline IMP s_original;
  static inline const CapturedLog *s_log;
  static inline int s_infosBefore;
};

}  // namespace

class QELTokenItems : public TokenTest {
 protected:
  static std::vector<FakeSlot> Holding(std::vector<FakeObject> objects) {
    FakeSlot slot{7, kReader};
    slot.objects = std::move(objects);
    return {slot};
  }

  /// What a token of that card publishes, an item a line: "certificate 110102", "key 120102".
  static Texts Published(std::vector<FakeSlot> slots) {
    FakeCard card(std::move(slots));
    Texts lines;
    @autoreleasepool {
      for (TKTokenKeychainItem *item in [[MakeToken() keychainContents] items]) {
        const bool isKey = [item isKindOfClass:[TKTokenKeychainKey class]];
        lines.push_back((isKey ? "key " : "certificate ") + HexOf([item objectID]));
      }
    }
    return lines;
  }

  /// The construction logs its four steps; of what it publishes and skips, nothing.
  void ExpectNoWordOfTheItems() const {
    EXPECT_EQ(m_log.Infos(), (Texts{"CTK slot name: Example Reader 0", "slotName Example Reader 0",
                                    "Loading content from QEL-00A1B2C3 [slot 7]",
                                    "keychain contents filled from card from reader Example Reader 0"}));
    EXPECT_EQ(m_log.Lines().size(), 4u);
    EXPECT_EQ(SystemLogOfTheToken(), Texts{});
  }

  /// What a key item offers, with its constraints: "sign login decrypt exchange {2,3,4}".
  static std::string Offers(std::vector<FakeSlot> slots) {
    FakeCard card(std::move(slots));
    std::string text;
    @autoreleasepool {
      auto *key = (TKTokenKeychainKey *)[[[MakeToken() keychainContents] items] lastObject];
      EXPECT_TRUE([key isKindOfClass:[TKTokenKeychainKey class]]);
      if ([key canSign]) text += "sign ";
      if ([key isSuitableForLogin]) text += "login ";
      if ([key canDecrypt]) text += "decrypt ";
      if ([key canPerformKeyExchange]) text += "exchange ";
      text += "{";
      for (NSNumber *operation in [[[key constraints] allKeys] sortedArrayUsingSelector:@selector(compare:)]) {
        EXPECT_TRUE([operation isKindOfClass:[NSNumber class]]);
        EXPECT_STREQ([[[key constraints] objectForKey:operation] UTF8String], "PINAlways");
        text += [[operation description] UTF8String];
      }
      EXPECT_NE([key constraints], nil);
      text += "}";
    }
    return text;
  }

  /// A certificate and its public key.
  static std::vector<FakeSlot> KeyThat(bool verifies, bool encrypts, CK_KEY_TYPE type) {
    const auto certificate = type == CKK_EC ? TestCertificates::Ec() : TestCertificates::Rsa();
    return Holding({UserCertificate(1, {0x01}, "certificate", certificate),
                    PublicKeyObject(2, {0x01}, "key", type, verifies, encrypts)});
  }

  static Texts Labels(std::vector<FakeSlot> slots) {
    FakeCard card(std::move(slots));
    Texts labels;
    @autoreleasepool {
      for (TKTokenKeychainItem *item in [[MakeToken() keychainContents] items]) {
        labels.push_back([[item label] UTF8String]);
      }
    }
    return labels;
  }
};

TEST_F(QELTokenItems, EachCertificateIsDirectlyFollowedByItsKey) {
  EXPECT_EQ(Published(OneSlot()), (Texts{"certificate 110102", "key 120102", "certificate 110304", "key 120304"}));
}

TEST_F(QELTokenItems, WhatIsPublishedIsNotLogged) {
  EXPECT_EQ(Published(OneSlot()).size(), 4u);
  ExpectNoWordOfTheItems();
}

TEST_F(QELTokenItems, ItemsOfTheSecondSlotCarryTheSecondPrefixes) {
  EXPECT_EQ(Published(TwoSlots()), (Texts{"certificate 110102", "key 120102", "certificate 110304", "key 120304",
                                          "certificate 210102", "key 220102", "certificate 210304", "key 220304"}));
}

TEST_F(QELTokenItems, ItemsOfAThirdSlotShareTheSecondsPrefixes) {
  std::vector<FakeSlot> slots = Holding({UserCertificate(1, {0x0A}, "first", TestCertificates::Rsa())});
  slots.push_back({8, kReader, "", 0, 0, true, {UserCertificate(1, {0x0B}, "second", TestCertificates::Rsa())}});
  slots.push_back({9, kReader, "", 0, 0, true, {UserCertificate(1, {0x0B}, "third", TestCertificates::Rsa())}});
  EXPECT_EQ(Published(slots), (Texts{"certificate 110a", "certificate 210b", "certificate 210b"}));
}

TEST_F(QELTokenItems, KeysOfAThirdSlotShareTheSecondsPrefixesToo) {
  EXPECT_EQ(Published(ThreeSlots()),
            (Texts{"certificate 110a", "key 120a", "certificate 210a", "key 220a", "certificate 210c", "key 220c"}));
  EXPECT_EQ(Labels(ThreeSlots()),
            (Texts{"\u7b7e\u540d (Signer)", "\u05de\u05e4\u05ea\u05d7 (Signer)",
                   "\u0627\u0644\u062a\u0648\u0642\u064a\u0639 (Signer)", "\u041a\u043b\u044e\u0447 (Signer)",
                   "\U0001F511 e\u0301 (Signer)", "\u00e9 (Signer)"}));
}

TEST_F(QELTokenItems, WhatCannotBePublishedInTheMiddleKeepsNothingElseBack) {
  const auto first = UserCertificate(1, {0x01}, "first", TestCertificates::Rsa());
  const auto firstKey = PublicKeyObject(2, {0x01}, "first key", CKK_RSA);
  const auto last = UserCertificate(8, {0x03}, "last", TestCertificates::Rsa());
  const auto lastKey = PublicKeyObject(9, {0x03}, "last key", CKK_RSA);
  const auto published = [&](const FakeObject &middle, const std::vector<FakeObject> &keys) {
    std::vector<FakeObject> objects = {first, firstKey, middle, last, lastKey};
    objects.insert(objects.end(), keys.begin(), keys.end());
    return Published(Holding(objects));
  };
  const auto good = UserCertificate(5, {0x02}, "middle", TestCertificates::Rsa());
  const Texts withoutMiddle = {"certificate 1101", "key 1201", "certificate 1103", "key 1203"};
  const Texts withoutKey = {"certificate 1101", "key 1201", "certificate 1102", "certificate 1103", "key 1203"};

  EXPECT_EQ(published(good, {}), withoutKey) << "a certificate without a key";
  EXPECT_EQ(published(UserCertificate(5, {0x02}, "middle", {0x30, 0x03, 0x01}), {}), withoutMiddle) << "unreadable";
  EXPECT_EQ(published(UserCertificate(5, {0x02}, "\xFF", TestCertificates::Rsa()), {}), withoutMiddle) << "a label";
  EXPECT_EQ(published(good, {PublicKeyObject(6, {0x02}, "\xC3", CKK_RSA)}), withoutKey) << "a key's label";
  EXPECT_EQ(published(UserCertificate(5, {0x02}, "middle", TestCertificates::Ed25519()),
                      {PublicKeyObject(6, {0x02}, "refused", CKK_EC_EDWARDS)}),
            withoutKey)
      << "a key that the platform refuses";
}

TEST_F(QELTokenItems, ACertificateItemThatThePlatformRefusesInTheMiddleKeepsNothingElseBack) {
  const InitializerGivesNilOnce refused([TKTokenKeychainCertificate class], @selector(initWithCertificate:objectID:),
                                        2);
  EXPECT_EQ(Published(Holding({UserCertificate(1, {0x01}, "first", TestCertificates::Rsa()),
                               UserCertificate(2, {0x02}, "refused", TestCertificates::Rsa()),
                               UserCertificate(3, {0x03}, "last", TestCertificates::Rsa()),
                               PublicKeyObject(4, {0x02}, "its key", CKK_RSA)})),
            (Texts{"certificate 1101", "certificate 1103"}));
}

TEST_F(QELTokenItems, ALabelKeepsAZeroByteAndEverythingAfterIt) {
  FakeCard card(Holding({UserCertificate(1, {0x01}, std::string("a\0b", 3), TestCertificates::Rsa("N")),
                         PublicKeyObject(2, {0x01}, std::string("\0k", 2), CKK_RSA)}));
  @autoreleasepool {
    NSArray<TKTokenKeychainItem *> *items = [[MakeToken() keychainContents] items];
    ASSERT_EQ([items count], 2u);
    EXPECT_EQ([[[items objectAtIndex:0] label] length], 7u) << "a, zero, b, blank, (N)";
    EXPECT_EQ([[[items objectAtIndex:1] label] length], 6u);
  }
}

TEST_F(QELTokenItems, AreFilledInBeforeTheLogSaysSo) {
  const NoticesTheFilling filling(m_log);
  EXPECT_EQ(Published(OneSlot()).size(), 4u);
  EXPECT_EQ(filling.InfosBefore(), 3);
  EXPECT_EQ(m_log.Infos().back(), "keychain contents filled from card from reader Example Reader 0");
}

TEST_F(QELTokenItems, ConstraintsThatThePlatformSetOnACertificateItemStay) {
  const CertificatesStartConstrained constrained;
  FakeCard card(OneSlot());
  @autoreleasepool {
    for (TKTokenKeychainItem *item in [[MakeToken() keychainContents] items]) {
      const bool isKey = [item isKindOfClass:[TKTokenKeychainKey class]];
      if (!isKey) {
        EXPECT_TRUE([[item constraints] isEqual:CertificatesStartConstrained::Constraints()]);
      }
    }
  }
}

TEST_F(QELTokenItems, AnIdOfAnyLengthAndBytesIsKeptWhole) {
  for (const size_t length : {1, 2, 20, 21, 32, 33, 64, 255, 256}) {
    ByteString keyID;
    for (size_t i = 0; i < length; ++i) keyID.push_back(static_cast<CK_BYTE>(i * 7));  // zero bytes among them
    std::string digits;
    @autoreleasepool {
      digits = HexOf(Data(keyID));
    }
    EXPECT_EQ(Published(Holding({UserCertificate(1, keyID, "certificate", TestCertificates::Rsa()),
                                 PublicKeyObject(2, keyID, "key", CKK_RSA)})),
              (Texts{"certificate 11" + digits, "key 12" + digits}));
  }
}

TEST_F(QELTokenItems, AnEmptyIdIsThePrefixAlone) {
  EXPECT_EQ(Published(Holding({UserCertificate(1, {}, "certificate", TestCertificates::Rsa()),
                               PublicKeyObject(2, {}, "key", CKK_RSA)})),
            (Texts{"certificate 11", "key 12"}));
}

#pragma mark - What is published

TEST_F(QELTokenItems, OnlyCertificatesOfTheUserCategoryArePublished) {
  FakeObject authority = UserCertificate(1, {0x01}, "authority", TestCertificates::Rsa());
  authority.attributes[CKA_CERTIFICATE_CATEGORY] = Ulong(2);
  FakeObject otherEntity = UserCertificate(2, {0x02}, "other entity", TestCertificates::Rsa());
  otherEntity.attributes[CKA_CERTIFICATE_CATEGORY] = Ulong(3);
  FakeObject unspecified = UserCertificate(3, {0x03}, "unspecified", TestCertificates::Rsa());
  unspecified.attributes[CKA_CERTIFICATE_CATEGORY] = Ulong(0);
  FakeObject without = UserCertificate(4, {0x04}, "without", TestCertificates::Rsa());
  without.attributes.erase(CKA_CERTIFICATE_CATEGORY);
  EXPECT_EQ(Published(Holding({authority, otherEntity, unspecified, without,
                               UserCertificate(5, {0x05}, "user", TestCertificates::Rsa())})),
            Texts{"certificate 1105"});
}

TEST_F(QELTokenItems, ACertificateWithoutPublicKeyIsPublishedAlone) {
  EXPECT_EQ(
      Published(Holding({UserCertificate(1, {0x01}, "certificate", TestCertificates::Rsa()),
                         PublicKeyObject(2, {0x02}, "foreign key", CKK_RSA), TestCard::PrivateKeyObject(3, {0x01})})),
      Texts{"certificate 1101"});
}

TEST_F(QELTokenItems, TwoCertificatesOfOneIdShareIdentifiersAndTheFirstPublicKey) {
  const std::vector<FakeSlot> slots =
      Holding({UserCertificate(1, {0x01}, "old", TestCertificates::Rsa("Old")),
               UserCertificate(2, {0x01}, "new", TestCertificates::Rsa("New")),
               PublicKeyObject(3, {0x01}, "first key", CKK_RSA), PublicKeyObject(4, {0x01}, "second key", CKK_RSA)});
  EXPECT_EQ(Published(slots), (Texts{"certificate 1101", "key 1201", "certificate 1101", "key 1201"}));
  EXPECT_EQ(Labels(slots), (Texts{"old (Old)", "first key (Old)", "new (New)", "first key (New)"}));
}

TEST_F(QELTokenItems, AnEmptyLabelIsALabel) {
  const std::vector<FakeSlot> slots =
      Holding({UserCertificate(1, {0x01}, "", TestCertificates::Rsa("Name")), PublicKeyObject(2, {0x01}, "", CKK_RSA)});
  EXPECT_EQ(Published(slots), (Texts{"certificate 1101", "key 1201"}));
  EXPECT_EQ(Labels(slots), (Texts{" (Name)", " (Name)"}));
}

TEST_F(QELTokenItems, LabelsStandAsTheCardHasThem) {
  for (const std::string label : {" blanks at both ends ", "\tand tabs\n", "e\xCC\x81 decomposed", "\xC3\xA9 composed",
                                  "Name", "%@ %s %d", "(Name)", "SHOUTED"}) {
    EXPECT_EQ(Labels(Holding({UserCertificate(1, {0x01}, label, TestCertificates::Rsa("Name")),
                              PublicKeyObject(2, {0x01}, label, CKK_RSA)})),
              (Texts{label + " (Name)", label + " (Name)"}));
  }
}

TEST_F(QELTokenItems, LabelsAreTheCardsNamesBeforeTheSubjects) {
  EXPECT_EQ(Labels(Holding({UserCertificate(1, {0x01}, "Zertifikat \xC3\xBC", TestCertificates::Rsa("Jane Doe")),
                            PublicKeyObject(2, {0x01}, "Key one", CKK_RSA)})),
            (Texts{"Zertifikat \xC3\xBC (Jane Doe)", "Key one (Jane Doe)"}));
}

#pragma mark - What is skipped

TEST_F(QELTokenItems, AnUnreadableCertificateIsSkippedWithItsKeyAndWithoutAMessage) {
  EXPECT_EQ(Published(Holding({UserCertificate(1, {0x01}, "certificate", {0x30, 0x03, 0x01}),
                               PublicKeyObject(2, {0x01}, "key", CKK_RSA), UserCertificate(3, {0x02}, "empty", {}),
                               UserCertificate(4, {0x03}, "good", TestCertificates::Rsa())})),
            Texts{"certificate 1103"});
  ExpectNoWordOfTheItems();
}

TEST_F(QELTokenItems, ACertificatesLabelThatIsNotUtf8SkipsItWithItsKeyAndWithoutAMessage) {
  EXPECT_EQ(Published(Holding({UserCertificate(1, {0x01}, "\xFF\xFE", TestCertificates::Rsa()),
                               PublicKeyObject(2, {0x01}, "key", CKK_RSA)})),
            Texts{});
  ExpectNoWordOfTheItems();
}

TEST_F(QELTokenItems, AKeysLabelThatIsNotUtf8SkipsOnlyTheKey) {
  EXPECT_EQ(Published(Holding({UserCertificate(1, {0x01}, "certificate", TestCertificates::Rsa()),
                               PublicKeyObject(2, {0x01}, "\xC3", CKK_RSA)})),
            Texts{"certificate 1101"});
  ExpectNoWordOfTheItems();
}

TEST_F(QELTokenItems, TheKeyOfASkippedCertificateIsNotLookedFor) {
  FakeCard card(Holding(
      {UserCertificate(1, {0x01}, "certificate", {0x30, 0x03, 0x01}), PublicKeyObject(2, {0x01}, "key", CKK_RSA)}));
  @autoreleasepool {
    EXPECT_NE(MakeToken(), nil);
  }
  EXPECT_EQ(card.Count("C_FindObjectsInit"), 1);
}

TEST_F(QELTokenItems, AKeyThatThePlatformRefusesSkipsOnlyTheKey) {
  EXPECT_EQ(Published(Holding({UserCertificate(1, {0x01}, "certificate", TestCertificates::Ed25519()),
                               PublicKeyObject(2, {0x01}, "key", CKK_EC_EDWARDS)})),
            Texts{"certificate 1101"});
}

TEST_F(QELTokenItems, ACertificateThatThePlatformRefusesIsSkippedWithItsKey) {
  const InitializerGivesNil refused([TKTokenKeychainCertificate class], @selector(initWithCertificate:objectID:));
  EXPECT_EQ(Published(KeyThat(true, true, CKK_RSA)), Texts{});
  ExpectNoWordOfTheItems();
}

TEST_F(QELTokenItems, AnAttributeThatCannotBeReadFailsTheConstruction) {
  for (const auto &[object, attribute] :
       {std::pair{0, CKA_VALUE}, {0, CKA_ID}, {0, CKA_LABEL}, {1, CKA_LABEL}, {1, CKA_VERIFY}, {1, CKA_ENCRYPT}}) {
    SCOPED_TRACE(TestCard::AttributeName(attribute));
    std::vector<FakeSlot> slots = KeyThat(true, true, CKK_RSA);
    slots[0].objects[object].attributes.erase(attribute);
    FakeCard card(slots);
    @autoreleasepool {
      NSError *error = nil;
      EXPECT_EQ(MakeToken(&error), nil);
      EXPECT_TRUE(IsError(error, @"QELToken", -6));
      EXPECT_STREQ([[error localizedDescription] UTF8String], "Cannot read object's attribute");
    }
  }
}

TEST_F(QELTokenItems, AFailedSearchForTheKeyFailsTheConstruction) {
  FakeCard card(OneSlot());
  card.Fail("C_FindObjectsInit", CKR_DEVICE_ERROR, 2);
  @autoreleasepool {
    NSError *error = nil;
    EXPECT_EQ(MakeToken(&error), nil);
    EXPECT_TRUE(IsError(error, @"QELToken", -6));
  }
}

#pragma mark - Capabilities

TEST_F(QELTokenItems, CapabilitiesComeFromThePublicKeyAndEachHasTheConstraint) {
  EXPECT_EQ(Offers(KeyThat(true, true, CKK_RSA)), "sign login decrypt {23}");
  EXPECT_EQ(Offers(KeyThat(true, false, CKK_RSA)), "sign login {2}");
  EXPECT_EQ(Offers(KeyThat(false, true, CKK_RSA)), "decrypt {3}");
  EXPECT_EQ(Offers(KeyThat(false, false, CKK_RSA)), "{}");
}

TEST_F(QELTokenItems, KeyExchangeNeedsDecryptionAndAnEcKey) {
  EXPECT_EQ(Offers(KeyThat(true, true, CKK_EC)), "sign login decrypt exchange {234}");
  EXPECT_EQ(Offers(KeyThat(false, true, CKK_EC)), "decrypt exchange {34}");
  EXPECT_EQ(Offers(KeyThat(true, false, CKK_EC)), "sign login {2}");
  EXPECT_EQ(Offers(KeyThat(false, false, CKK_EC)), "{}");
}

TEST_F(QELTokenItems, WhatThePublicKeyCannotDoIsTakenFromTheItem) {
  const KeysStartAble able;
  EXPECT_EQ(Offers(KeyThat(false, false, CKK_EC)), "{}");
  EXPECT_EQ(Offers(KeyThat(false, true, CKK_RSA)), "decrypt {3}");
}

TEST_F(QELTokenItems, TheKeyTypeIsReadOnlyOfAKeyThatDecrypts) {
  for (const bool encrypts : {false, true}) {
    FakeCard card(KeyThat(true, encrypts, CKK_EC));
    @autoreleasepool {
      MakeToken();
    }
    const auto reads = std::count(card.Calls().begin(), card.Calls().end(),
                                  "C_GetAttributeValue session=101 object=2 CKA_KEY_TYPE=buffer");
    EXPECT_EQ(reads, encrypts ? 1 : 0);
  }
}

TEST_F(QELTokenItems, CertificateItemsKeepThePlatformsConstraints) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    TKTokenKeychainItem *certificate = [[[MakeToken() keychainContents] items] firstObject];
    EXPECT_EQ([[certificate constraints] objectForKey:[NSNumber numberWithInteger:TKTokenOperationSignData]], nil);
    for (id constraint in [[certificate constraints] allValues]) EXPECT_FALSE([constraint isEqual:@"PINAlways"]);
  }
}

TEST_F(QELTokenItems, KeyTypeAndSizeAreThoseOfTheCertificateWhateverThePublicKeySays) {
  std::vector<FakeSlot> slots = OneSlot();
  slots[0].objects[1].attributes[CKA_KEY_TYPE] = Ulong(CKK_EC);
  slots[0].objects[4].attributes[CKA_KEY_TYPE] = Ulong(CKK_RSA);
  FakeCard card(slots);
  @autoreleasepool {
    TKTokenKeychainContents *contents = [MakeToken() keychainContents];
    TKTokenKeychainKey *rsa = [contents keyForObjectID:Data({0x12, 0x01, 0x02}) error:nullptr];
    EXPECT_TRUE([[rsa keyType] isEqualToString:(NSString *)kSecAttrKeyTypeRSA]);
    EXPECT_EQ([rsa keySizeInBits], 2048);
    TKTokenKeychainKey *ec = [contents keyForObjectID:Data({0x12, 0x03, 0x04}) error:nullptr];
    EXPECT_TRUE([[ec keyType] isEqualToString:(NSString *)kSecAttrKeyTypeECSECPrimeRandom]);
    EXPECT_EQ([ec keySizeInBits], 256);
  }
}

#pragma mark - Searches

TEST_F(QELTokenItems, CertificatesAreSearchedByClassAndCategoryInThisOrder) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    std::vector<TemplateRow> rows;
    ScriptedCard script(TestCard::Search({9, 4}, &rows));
    const auto certificates = [token clientCertificates:55];
    EXPECT_EQ(rows,
              (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_CERTIFICATE)}, {CKA_CERTIFICATE_CATEGORY, Ulong(1)}}));
    ASSERT_EQ(certificates.size(), 2u);
    EXPECT_EQ(certificates[0].object, 9u);
    EXPECT_EQ(certificates[0].session, 55u);
    EXPECT_EQ(certificates[1].object, 4u);
  }
}

TEST_F(QELTokenItems, PublicKeysAreSearchedByClassAndIdInThisOrderAndTheFirstIsTaken) {
  FakeCard card(OneSlot());
  @autoreleasepool {
    QELToken *token = MakeToken();
    std::vector<TemplateRow> rows;
    {
      ScriptedCard script(TestCard::Search({9, 4}, &rows));
      const auto key = [token findPublicKeyWithID:{0x12, 0x34} session:55];
      ASSERT_NE(key, nullptr);
      EXPECT_EQ(key->object, 9u);
      EXPECT_EQ(key->session, 55u);
    }
    EXPECT_EQ(rows, (std::vector<TemplateRow>{{CKA_CLASS, Ulong(CKO_PUBLIC_KEY)}, {CKA_ID, ByteString{0x12, 0x34}}}));
    ScriptedCard script(TestCard::Search({}));
    const auto key = [token findPublicKeyWithID:{0x12, 0x34} session:55];
    EXPECT_EQ(key, nullptr);
  }
}
