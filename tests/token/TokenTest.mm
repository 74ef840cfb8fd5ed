#import "tests/token/TokenTest.h"

#include "tests/support/SystemLogLines.h"
#include "token/ProcessModules.h"

using TestCard::FakeSlot;

TokenTest::TokenTest() = default;

TokenTest::~TokenTest() {
  ExpectInfosAndErrorsOnly(m_log);
  ProcessModules::Instance() = ProcessModules();  // the next case loads the libraries as a process of its own would
}

std::vector<FakeSlot> TokenTest::OneSlot() {
  FakeSlot slot{7, kReader};
  slot.objects = {
      TestCard::UserCertificate(1, {0x01, 0x02}, "RSA certificate", TestCertificates::Rsa()),
      TestCard::PublicKeyObject(2, {0x01, 0x02}, "RSA key", CKK_RSA),
      TestCard::PrivateKeyObject(3, {0x01, 0x02}),
      TestCard::UserCertificate(4, {0x03, 0x04}, "EC certificate", TestCertificates::Ec()),
      TestCard::PublicKeyObject(5, {0x03, 0x04}, "EC key", CKK_EC),
      TestCard::PrivateKeyObject(6, {0x03, 0x04}),
  };
  return {slot};
}

std::vector<FakeSlot> TokenTest::TwoSlots() {
  std::vector<FakeSlot> slots = OneSlot();
  slots.push_back(slots.front());
  slots.back().id = 8;
  slots.back().description = std::string(kReader) + "1";
  slots.back().serialNumber = "99999999";
  return slots;
}

std::vector<FakeSlot> TokenTest::ThreeSlots() {
  const auto der = TestCertificates::Rsa("Signer");
  const auto slot = [&](CK_SLOT_ID id, TestCard::ByteString key, const char *certificate, const char *label) {
    FakeSlot made{id, std::string(kReader) + " " + std::to_string(id), std::to_string(id)};
    // Private keys first, and not every number is taken.
    made.objects = {TestCard::PrivateKeyObject(40, key), TestCard::UserCertificate(17, key, certificate, der),
                    TestCard::PublicKeyObject(5, key, label, CKK_RSA)};
    return made;
  };
  return {FakeSlot{2, "Another Reader"},
          slot(3, {0x0A}, "\u7b7e\u540d", "\u05de\u05e4\u05ea\u05d7"),
          FakeSlot{4, ""},
          slot(0x100000003, {0x0A}, "\u0627\u0644\u062a\u0648\u0642\u064a\u0639", "\u041a\u043b\u044e\u0447"),
          FakeSlot{1, "Example Reader 1"},
          slot(0, {0x0C}, "\U0001F511 e\u0301", "\u00e9")};
}

TKSmartCard *TokenTest::SmartCard(NSString *reader) {
  return [[[TKSmartCard alloc] initWithSlot:[TKSmartCardSlot slotWithName:reader]] autorelease];
}

QELToken *TokenTest::MakeToken(NSError **error, TKSmartCard *smartCard) {
  QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
  return (QELToken *)[driver tokenDriver:driver createTokenForSmartCard:smartCard AID:nil error:error];
}

QELTokenSession *TokenTest::MakeSession(QELToken *token) {
  return (QELTokenSession *)[token token:token createSessionWithError:nullptr];
}

TKTokenKeyAlgorithm *TokenTest::Algorithm(std::initializer_list<SecKeyAlgorithm> algorithms) {
  NSMutableArray<NSString *> *names = [NSMutableArray array];
  for (const SecKeyAlgorithm algorithm : algorithms) [names addObject:(NSString *)algorithm];
  return [[[TKTokenKeyAlgorithm alloc] initWithAlgorithms:names] autorelease];
}

NSData *TokenTest::Data(std::initializer_list<int> bytes) {
  return Data(TestCard::ByteString(bytes.begin(), bytes.end()));
}

NSData *TokenTest::Data(const TestCard::ByteString &bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

TestCard::ByteString TokenTest::BytesOf(NSData *data) {
  const auto *bytes = static_cast<const CK_BYTE *>([data bytes]);
  return {bytes, bytes + [data length]};
}

std::string TokenTest::HexOf(NSData *data) {
  std::string digits;
  for (const CK_BYTE byte : BytesOf(data)) {
    digits += "0123456789abcdef"[byte >> 4];
    digits += "0123456789abcdef"[byte & 15];
  }
  return digits;
}

void TokenTest::ExpectInfosAndErrorsOnly(const CapturedLog &log) {
  for (const auto &[level, text] : log.Lines()) EXPECT_TRUE(level == kInfo || level == kError) << level << ": " << text;
}

Texts TokenTest::SystemLogOfTheToken() const {
  Texts lines;
  for (const std::string &line : SystemLogLines(m_systemLog)) {
    if (line.rfind("NSLog: iniparser", 0) != 0) lines.push_back(line);
  }
  return lines;
}

::testing::AssertionResult IsError(NSError *error, NSString *domain, NSInteger code) {
  if (error == nil) return ::testing::AssertionFailure() << "no error";
  if ([[error domain] isEqualToString:domain] && [error code] == code) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << [[error domain] UTF8String] << " " << [error code] << " ("
                                       << [[error localizedDescription] UTF8String] << ")";
}
