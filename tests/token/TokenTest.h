#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#include "platform/testing/SystemLog.h"
#import "platform/testing/TKTesting.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/LoaderRedirect.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/UserHome.h"
#include "tests/support/card/FakeCard.h"
#include "tests/support/card/ScriptedCard.h"
#include "tests/token/DialogRecorder.h"
#import "token/QELAuthOperation.h"
#import "token/QELPINPadAuthOperation.h"
#import "token/QELToken.h"
#import "token/QELTokenDriver.h"
#import "token/QELTokenSession.h"

/// What every test of the token needs around it: an empty home, the recording dialog library, captured logs, and the
/// check that nothing of ours stays alive. The PKCS#11 library that the product loads is the test module; a FakeCard
/// answers.
class TokenTest : public ::testing::Test {
  // First, so that they count when everything else is gone.
  LiveObjects m_tokens{[QELToken class]};
  LiveObjects m_sessions{[QELTokenSession class]};
  LiveObjects m_pairs{[SlotSessionPair class]};
  LiveObjects m_operations{[QELAuthOperation class]};
  LiveObjects m_pinPadOperations{[QELPINPadAuthOperation class]};
  LiveObjects m_certificateItems{[TKTokenKeychainCertificate class]};
  LiveObjects m_keyItems{[TKTokenKeychainKey class]};
  LiveObjects m_contents{[TKTokenKeychainContents class]};
  LiveObjects m_certificates{NSClassFromString(@"QELCertificate")};  // behind every SecCertificateRef

 protected:
  static constexpr const char *kReader = "Example Reader 0";

  TokenTest();
  ~TokenTest() override;

  /// A card with one slot on the reader, an RSA key under id 01 02 and an EC key under 03 04.
  static std::vector<TestCard::FakeSlot> OneSlot();
  /// The same card on two slots of the reader.
  static std::vector<TestCard::FakeSlot> TwoSlots();
  /// A card as it may be: three slots with a key each, among slots of other readers, with gaps in their numbers and
  /// labels in several scripts; the same object handles everywhere, and one identifier in two slots.
  static std::vector<TestCard::FakeSlot> ThreeSlots();

  /// The card in the reader of that name, autoreleased.
  static TKSmartCard *SmartCard(NSString *reader = @"Example Reader 0");
  /// Constructs a token, autoreleased. `error` may be null.
  static QELToken *MakeToken(NSError **error = nullptr, TKSmartCard *smartCard = SmartCard());
  /// A session of the token, autoreleased.
  static QELTokenSession *MakeSession(QELToken *token);
  /// The algorithms of a request; the last is the form of the data.
  static TKTokenKeyAlgorithm *Algorithm(std::initializer_list<SecKeyAlgorithm> algorithms);
  /// An item's object identifier or any other data, from bytes.
  static NSData *Data(std::initializer_list<int> bytes);
  static NSData *Data(const TestCard::ByteString &bytes);
  static TestCard::ByteString BytesOf(NSData *data);
  /// Its bytes as lower-case hexadecimal digits.
  static std::string HexOf(NSData *data);

  /// Expects a log without a line of a level at which the token never writes.
  static void ExpectInfosAndErrorsOnly(const CapturedLog &log);

  /// The captured system log as SystemLogLines gives it, without what the settings' loading says about missing files.
  Texts SystemLogOfTheToken() const;

  UserHome m_home;
  LoaderRedirect m_dialogLibrary{"QELPINDialog", DIALOG_MODULE};
  CapturedLog m_log;
  SystemLog::Captured m_systemLog;
  DialogRecorder m_dialog;
};

/// Compares an error by domain and code.
::testing::AssertionResult IsError(NSError *error, NSString *domain, NSInteger code);
