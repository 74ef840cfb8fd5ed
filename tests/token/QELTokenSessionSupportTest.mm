#import "tests/token/AllAlgorithms.h"
#import "tests/token/SessionTest.h"

class QELTokenSessionSupport : public SessionTest {
 protected:
  /// Every question that is answered YES for the key, among all operations and algorithms: "sign algid:...".
  Texts Supported(NSData *key) {
    const std::pair<TKTokenOperation, std::string> operations[] = {
        {TKTokenOperationNone, "none "},
        {TKTokenOperationReadData, "read "},
        {TKTokenOperationSignData, "sign "},
        {TKTokenOperationDecryptData, "decrypt "},
        {TKTokenOperationPerformKeyExchange, "exchange "},
        {static_cast<TKTokenOperation>(5), "unknown "},
    };
    Texts supported;
    for (const auto &[operation, name] : operations) {
      for (const SecKeyAlgorithm algorithm : AllAlgorithms()) {
        if (Supports(operation, key, Algorithm({algorithm}))) {
          supported.push_back(name + [(NSString *)algorithm UTF8String]);
        }
      }
    }
    return supported;
  }

  TKTokenKeychainKey *Item(NSData *key) { return [[m_token keychainContents] keyForObjectID:key error:nullptr]; }
};

class QELTokenSessionSupportOnTwoSlots : public TwoSlotTest {};

TEST_F(QELTokenSessionSupport, AnRsaKeySignsPssAndDecryptsPkcs1AndNothingElse) {
  EXPECT_EQ(Supported(RsaKey()),
            (Texts{"sign algid:sign:RSA:digest-PSS:SHA256:SHA256:32", "sign algid:sign:RSA:digest-PSS:SHA384:SHA384:48",
                   "sign algid:sign:RSA:digest-PSS:SHA512:SHA512:64", "decrypt algid:encrypt:RSA:PKCS1"}));
}

TEST_F(QELTokenSessionSupport, AnEcKeySignsDigestsAndExchangesWithSha1AndNothingElse) {
  EXPECT_EQ(Supported(EcKey()),
            (Texts{"sign algid:sign:ECDSA:digest-X962", "exchange algid:keyexchange:ECDH:KDFX963:SHA1"}));
}

TEST_F(QELTokenSessionSupport, EachOperationNeedsItsCapability) {
  [Item(RsaKey()) setCanSign:NO];
  [Item(EcKey()) setCanSign:NO];
  EXPECT_EQ(Supported(RsaKey()), Texts{"decrypt algid:encrypt:RSA:PKCS1"});
  EXPECT_EQ(Supported(EcKey()), Texts{"exchange algid:keyexchange:ECDH:KDFX963:SHA1"});
  EXPECT_FALSE(Supports(TKTokenOperationSignData, RsaKey(), RawRsa()));

  [Item(RsaKey()) setCanDecrypt:NO];
  [Item(EcKey()) setCanPerformKeyExchange:NO];
  EXPECT_EQ(Supported(RsaKey()), Texts{});
  EXPECT_EQ(Supported(EcKey()), Texts{});
}

TEST_F(QELTokenSessionSupport, EachOperationNeedsItsKeyType) {
  [Item(RsaKey()) setCanPerformKeyExchange:YES];
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, RsaKey(), X963Sha1()));
  EXPECT_TRUE([Item(EcKey()) canDecrypt]);
  EXPECT_FALSE(Supports(TKTokenOperationDecryptData, EcKey(), Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})));

  [Item(EcKey()) setKeyType:@"another"];
  EXPECT_EQ(Supported(EcKey()), Texts{});
}

TEST_F(QELTokenSessionSupport, RawRsaCountsOnlyWhenThePlatformMakesItFromAPkcs1Signature) {
  const SecKeyAlgorithm raw = kSecKeyAlgorithmRSASignatureRaw;
  const SecKeyAlgorithm pkcs1 = kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw;
  const auto signs = [&](std::initializer_list<SecKeyAlgorithm> algorithms) {
    return Supports(TKTokenOperationSignData, RsaKey(), Algorithm(algorithms));
  };
  EXPECT_TRUE(signs({pkcs1, raw}));
  EXPECT_TRUE(signs({kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA256,
                     kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA256, pkcs1, raw}));
  EXPECT_FALSE(signs({raw}));
  EXPECT_FALSE(signs({raw, pkcs1}));
  EXPECT_FALSE(signs({kSecKeyAlgorithmRSASignatureDigestPSSSHA1, raw}));
  EXPECT_FALSE(Supports(TKTokenOperationSignData, EcKey(), RawRsa()));
  EXPECT_FALSE(Supports(TKTokenOperationDecryptData, RsaKey(), RawRsa()));
}

TEST_F(QELTokenSessionSupport, TheFormOfTheDataDecidesNotWhereItComesFrom) {
  EXPECT_TRUE(
      Supports(TKTokenOperationSignData, RsaKey(),
               Algorithm({kSecKeyAlgorithmRSASignatureMessagePSSSHA256, kSecKeyAlgorithmRSASignatureDigestPSSSHA256})));
  EXPECT_FALSE(
      Supports(TKTokenOperationSignData, EcKey(),
               Algorithm({kSecKeyAlgorithmECDSASignatureDigestX962, kSecKeyAlgorithmECDSASignatureDigestX962SHA256})));
}

TEST_F(QELTokenSessionSupport, AnUnknownKeySupportsNothingAndTheCardIsNotAsked) {
  EXPECT_EQ(Supported(Data({0x12, 0x77})), Texts{});
  EXPECT_EQ(Supported(Data({0x11, 0x01, 0x02})), Texts{}) << "a certificate's identifier";
  EXPECT_EQ(m_card.Calls(), Texts{});
}

TEST_F(QELTokenSessionSupport, TheOnlySlotIsAskedForTheDerivationWhateverTheAlgorithm) {
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), Ecdsa()));
  EXPECT_EQ(m_card.Calls(), Texts{"C_GetMechanismInfo slot=7 mechanism=0x1050"});
}

TEST_F(QELTokenSessionSupport, TheSlotIsNotAskedAboutAKeyThatDoesNotExchange) {
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, RsaKey(), X963Sha1()));
  [Item(RsaKey()) setCanPerformKeyExchange:YES];
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, RsaKey(), X963Sha1()));
  [Item(EcKey()) setCanPerformKeyExchange:NO];
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_EQ(m_card.Calls(), Texts{});
}

TEST_F(QELTokenSessionSupport, TheSlotIsAskedEachTimeAndItsAnswerCountsThen) {
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  m_card.Slots().front().derivesKeys = false;
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  m_card.Slots().front().derivesKeys = true;
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_EQ(m_card.Count("C_GetMechanismInfo"), 3);
}

TEST_F(QELTokenSessionSupport, KeyTypesAreComparedAsTexts) {
  [Item(RsaKey()) setKeyType:[NSMutableString stringWithString:(NSString *)kSecAttrKeyTypeECSECPrimeRandom]];
  [Item(EcKey()) setKeyType:[NSMutableString stringWithString:(NSString *)kSecAttrKeyTypeRSA]];
  EXPECT_TRUE(Supports(TKTokenOperationSignData, RsaKey(), Ecdsa()));
  EXPECT_TRUE(Supports(TKTokenOperationSignData, EcKey(), RawRsa()));
}

TEST_F(QELTokenSessionSupport, ACardThatDoesNotDeriveSupportsNoKeyExchange) {
  m_card.Slots().front().derivesKeys = false;
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_EQ(m_log.Lines().size(), 0u);
}

TEST_F(QELTokenSessionSupportOnTwoSlots, TheSameCardBehindTwoSlotsIsNotAsked) {
  for (TestCard::FakeSlot &slot : m_card.Slots()) slot.derivesKeys = false;
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, LaterEcKey(), X963Sha1()));
  EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), Ecdsa()));
  EXPECT_EQ(m_card.Calls(), Texts{});
}

TEST_F(QELTokenSessionSupport, DecryptionAndExchangeGoByTheFormOfTheDataToo) {
  const auto decrypts = [&](std::initializer_list<SecKeyAlgorithm> algorithms) {
    return Supports(TKTokenOperationDecryptData, RsaKey(), Algorithm(algorithms));
  };
  const auto exchanges = [&](std::initializer_list<SecKeyAlgorithm> algorithms) {
    return Supports(TKTokenOperationPerformKeyExchange, EcKey(), Algorithm(algorithms));
  };
  EXPECT_FALSE(decrypts({kSecKeyAlgorithmRSAEncryptionPKCS1, kSecKeyAlgorithmRSAEncryptionRaw}));
  EXPECT_TRUE(decrypts({kSecKeyAlgorithmRSAEncryptionRaw, kSecKeyAlgorithmRSAEncryptionPKCS1}));
  EXPECT_FALSE(exchanges({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1, kSecKeyAlgorithmECDHKeyExchangeStandard}));
  EXPECT_TRUE(exchanges({kSecKeyAlgorithmECDHKeyExchangeStandard, kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1}));
}

class QELTokenSessionSupportOnThreeSlots : public SessionTest {
 protected:
  QELTokenSessionSupportOnThreeSlots() : SessionTest(WithAnEcKey()) {}
  static std::vector<TestCard::FakeSlot> WithAnEcKey() {
    auto slots = ThreeSlots();
    slots[1].objects = OneSlot().front().objects;
    for (TestCard::FakeSlot &slot : slots) slot.derivesKeys = false;
    return slots;
  }
};

TEST_F(QELTokenSessionSupportOnThreeSlots, TheCardIsNotAskedWhetherItDerives) {
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_EQ(m_card.Calls(), Texts{});
}

TEST_F(QELTokenSessionSupport, WithoutAnyPairTheCardIsNotAskedWhetherItDerives) {
  m_card.Slots().front().derivesKeys = false;
  [m_session setHSlotSessionPairs:[NSMutableArray array]];
  EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  EXPECT_EQ(m_card.Calls(), Texts{});
}

TEST_F(QELTokenSessionSupport, ARefusedQuestionWhetherTheCardDerivesIsNotLogged) {
  for (const CK_RV refusal : {CKR_MECHANISM_INVALID, CKR_DEVICE_ERROR, CKR_TOKEN_NOT_PRESENT}) {
    m_card.Fail("C_GetMechanismInfo", refusal);
    EXPECT_FALSE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1()));
  }
  EXPECT_EQ(m_log.Lines().size(), 0u);
  EXPECT_EQ(m_systemLog.Texts(), Texts{});
}
