#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/wire/Hex.h"
#include "tests/platform/CertificateMaker.h"
#include "tests/platform/ExtensionProcess.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Wire::Attachment;
using Wire::Bytes;
using Wire::Operation;

const Wire::Algorithms kRaw = {"algid:sign:RSA:digest-PKCS1v15", "algid:sign:RSA:raw"};

/// "domain code" of an answer's error, "done" when there is none because all went well, "no error object" otherwise.
template <class T>
std::string Outcome(const Wire::Answer<T>& answer) {
  if (answer) {
    return "done";
  }
  return answer.error ? answer.error->domain + " " + std::to_string(answer.error->code) : "no error object";
}

class NSExtensionMain : public ::testing::Test {
 protected:
  ExtensionProcess m_process{TEST_EXTENSION};
  Wire::Client m_client = m_process.client();

  int64_t Session() { return *m_client.CreateSession(m_client.CreateToken("a card")->id); }

  /// The error of a request as it stands.
  std::string ErrorOf(const std::string& call, const nlohmann::json& arguments) {
    const Wire::Reply reply = m_process.channel().Call(call, arguments);
    return reply.error ? reply.error->domain + ": " + reply.error->description : "none";
  }
};

TEST_F(NSExtensionMain, GreetsWithWhatTheBundleSays) {
  const auto greeting = m_client.Hello();
  ASSERT_TRUE(greeting);
  EXPECT_EQ(greeting->version, Wire::ProtocolVersion);
  EXPECT_EQ(greeting->driverClass, "TestDriver");
  EXPECT_EQ(greeting->classID, "com.example.TestExtension");
}

TEST_F(NSExtensionMain, DescribesTheTokensItems) {
  const Bytes der = CertificateMaker::EC("P-256").Certificate({{"CN", "Ada"}});
  const auto token = m_client.CreateToken(Wire::ToHex(der.data(), der.size()));
  ASSERT_TRUE(token);
  EXPECT_EQ(token->instanceID, "TEST-1");
  ASSERT_EQ(token->items.size(), 2u);

  const Wire::Item& certificate = token->items[0];
  EXPECT_EQ(certificate.kind, Wire::Item::Kind::Certificate);
  EXPECT_EQ(certificate.objectID, "1101");
  EXPECT_EQ(certificate.label, "Ada");
  EXPECT_EQ(certificate.certificate, der);
  EXPECT_EQ(certificate.constraints, (std::map<Operation, nlohmann::json>{{Operation::ReadData, true}}));

  const Wire::Item& key = token->items[1];
  EXPECT_EQ(key.kind, Wire::Item::Kind::Key);
  EXPECT_EQ(key.objectID, "1201");
  EXPECT_EQ(key.label, "Ada");
  EXPECT_EQ(key.keyType, "73");
  EXPECT_EQ(key.keySizeInBits, 256);
  EXPECT_EQ(key.publicKeyHash.size(), 20u);
  EXPECT_TRUE(key.canSign && key.suitableForLogin);
  EXPECT_FALSE(key.canDecrypt || key.canPerformKeyExchange);
  EXPECT_EQ(key.constraints,
            (std::map<Operation, nlohmann::json>{{Operation::SignData, "PINAlways"}, {Operation::DecryptData, false}}));
}

TEST_F(NSExtensionMain, ATokenMayBeRefusedWithAndWithoutAnErrorObject) {
  EXPECT_EQ(Outcome(m_client.CreateToken("foreign card")), "no error object");
  const auto broken = m_client.CreateToken("broken card");
  EXPECT_EQ(Outcome(broken), "CryptoTokenKit -2");
  EXPECT_EQ(broken.error->description, "refused by the test's extension");
}

TEST_F(NSExtensionMain, AnExceptionOfTheExtensionIsAnAnswerAndTheNextRequestWorks) {
  const auto raised = m_client.CreateToken("raising card");
  EXPECT_EQ(Outcome(raised), "NSException 0");
  EXPECT_EQ(raised.error->description, "TestException: raised for raising card");
  const auto pastTheEnd = m_client.SignData(Session(), "12ee", kRaw, {1});
  EXPECT_EQ(Outcome(pastTheEnd), "NSException 0");
  EXPECT_THAT(pastTheEnd.error->description, HasSubstr("NSRangeException"));
  EXPECT_TRUE(m_client.Hello());
}

TEST_F(NSExtensionMain, SupportsOperationHandsOverKeyAndAlgorithms) {
  const int64_t session = Session();
  const auto supports = [&](Operation operation, const char* key, const Wire::Algorithms& algorithms) {
    return *m_client.SupportsOperation(session, operation, key, algorithms);
  };
  EXPECT_TRUE(supports(Operation::SignData, "1201", kRaw));
  EXPECT_FALSE(supports(Operation::DecryptData, "1201", kRaw));
  EXPECT_FALSE(supports(Operation::SignData, "1202", kRaw));
  EXPECT_FALSE(supports(Operation::SignData, "1201", {kRaw[1], kRaw[0]}));
  EXPECT_FALSE(supports(Operation::SignData, "1201", {kRaw[1]}));
}

TEST_F(NSExtensionMain, SignsAfterALogin) {
  const int64_t session = Session();
  EXPECT_EQ(Outcome(m_client.SignData(session, "1201", kRaw, {1, 2, 3})), "CryptoTokenKit -9");
  const auto authentication = m_client.BeginAuth(session, Operation::SignData, "PINAlways");
  ASSERT_TRUE(authentication);
  EXPECT_EQ(authentication->kind, "smartCardPIN");
  EXPECT_TRUE(m_client.FinishAuth(authentication->id, Attachment("1234", 4)));
  const auto signature = m_client.SignData(session, "1201", kRaw, {1, 2, 3});
  ASSERT_TRUE(signature);
  EXPECT_EQ(*signature, (Bytes{3, 2, 1}));
}

TEST_F(NSExtensionMain, AnEmptyResultIsAResult) {
  const int64_t session = Session();
  m_client.FinishAuth(m_client.BeginAuth(session, Operation::SignData, "PINAlways")->id, Attachment("1234", 4));
  const auto signature = m_client.SignData(session, "1201", kRaw, {});
  ASSERT_TRUE(signature);
  EXPECT_TRUE(signature->empty());
}

TEST_F(NSExtensionMain, AFailureWithoutAnErrorObjectStaysOne) {
  EXPECT_EQ(Outcome(m_client.SignData(Session(), "12dd", kRaw, {1})), "no error object");
}

TEST_F(NSExtensionMain, AWrongPinAndNoPinAreToldApart) {
  const int64_t session = Session();
  const auto begin = [&] { return m_client.BeginAuth(session, Operation::SignData, "PINAlways")->id; };
  EXPECT_EQ(Outcome(m_client.FinishAuth(begin(), Attachment("9999", 4))), "CryptoTokenKit -8");
  EXPECT_EQ(Outcome(m_client.FinishAuth(begin(), Attachment())), "CryptoTokenKit -8") << "an empty PIN is a PIN";
  EXPECT_EQ(Outcome(m_client.FinishAuth(begin(), std::nullopt)), "CryptoTokenKit -4");
}

TEST_F(NSExtensionMain, TheKindOfAnAuthenticationIsItsClass) {
  const int64_t session = Session();
  EXPECT_EQ(m_client.BeginAuth(session, Operation::SignData, "password")->kind, "password");
  EXPECT_EQ(m_client.BeginAuth(session, Operation::SignData, true)->kind, "none");
  EXPECT_EQ(Outcome(m_client.BeginAuth(session, Operation::DecryptData, "PINAlways")), "CryptoTokenKit -8");
}

TEST_F(NSExtensionMain, AnAuthenticationEndsWithItsFinish) {
  const auto authentication = m_client.BeginAuth(Session(), Operation::SignData, true);
  EXPECT_TRUE(m_client.FinishAuth(authentication->id, std::nullopt));
  EXPECT_EQ(Outcome(m_client.FinishAuth(authentication->id, std::nullopt)), "Wire 0");
}

TEST_F(NSExtensionMain, AKeyExchangeHasItsParameters) {
  const int64_t session = Session();
  const Wire::Algorithms ecdh = {"algid:keyexchange:ECDH:KDFX963:SHA1"};
  EXPECT_EQ(*m_client.PerformKeyExchange(session, "1201", ecdh, {4, 5}, 16, Bytes{0xAB}), (Bytes{4, 5, 16, 0xAB}));
  EXPECT_EQ(*m_client.PerformKeyExchange(session, "1201", ecdh, {4, 5}, 0, std::nullopt), (Bytes{4, 5, 0}));
}

TEST_F(NSExtensionMain, AResultThatIsTooLongIsRefusedAndTheLoginStays) {
  const int64_t session = Session();
  m_client.FinishAuth(m_client.BeginAuth(session, Operation::SignData, "PINAlways")->id, Attachment("1234", 4));
  const Bytes longest(Wire::MaximumPartLength);  // the secret is a byte longer
  const auto secret = m_client.PerformKeyExchange(session, "1201", {"algid:keyexchange:ECDH"}, longest, 32, {});
  EXPECT_EQ(Outcome(secret), "Wire 0");
  EXPECT_EQ(secret.error->description, "the answer is too long: attachment of 16777217 bytes, allowed are 16777216");
  EXPECT_TRUE(m_client.SignData(session, "1201", kRaw, {1, 2, 3}));
}

TEST_F(NSExtensionMain, ATokenThatIsTooLongToBeToldOfIsEnded) {
  EXPECT_EQ(Outcome(m_client.CreateToken("endless card")), "Wire 0");
  EXPECT_TRUE(m_client.Hello());
  kill(m_process.pid(), SIGKILL);
  m_process.End();
  EXPECT_EQ(m_process.errors(), "token was terminated\ntoken was freed\n");
}

TEST_F(NSExtensionMain, WhatTheSessionLacksIsNotImplemented) {
  EXPECT_EQ(Outcome(m_client.DecryptData(Session(), "1201", {"algid:encrypt:RSA:PKCS1"}, {1})), "CryptoTokenKit -1");
}

TEST_F(NSExtensionMain, RequestsThatMakeNoSenseAreAnswered) {
  EXPECT_EQ(ErrorOf("fly", nlohmann::json::object()), "Wire: no such call: fly");
  EXPECT_EQ(ErrorOf("createSession", {{"token", 77}}), "Wire: no such token: 77");
  EXPECT_EQ(ErrorOf("terminateSession", {{"session", 77}}), "Wire: no such session: 77");
  EXPECT_EQ(ErrorOf("finishAuth", {{"auth", 77}}), "Wire: no such auth: 77");
  EXPECT_THAT(ErrorOf("createToken", nlohmann::json::object()), HasSubstr("Wire: "));
  EXPECT_THAT(ErrorOf("createToken", {{"reader", 5}}), HasSubstr("Wire: "));
  EXPECT_EQ(ErrorOf("signData", {{"session", Session()}, {"key", "xy"}, {"algorithms", kRaw}}),
            "Wire: not hexadecimal: \"xy\"");
  EXPECT_TRUE(m_client.Hello());
}

TEST_F(NSExtensionMain, APinThatIsNotTextIsRefused) {
  const auto authentication = m_client.BeginAuth(Session(), Operation::SignData, "PINAlways");
  EXPECT_EQ(Outcome(m_client.FinishAuth(authentication->id, Attachment("\xFF\xFE", 2))), "Wire 0");
}

TEST_F(NSExtensionMain, TerminatingATokenEndsItsSessionsFirst) {
  const auto token = m_client.CreateToken("a card");
  m_client.BeginAuth(*m_client.CreateSession(token->id), Operation::SignData, "PINAlways");
  EXPECT_TRUE(m_client.TerminateToken(token->id));
  EXPECT_EQ(ErrorOf("createSession", {{"token", token->id}}), "Wire: no such token: " + std::to_string(token->id));
  m_process.End();
  EXPECT_THAT(m_process.errors(),
              HasSubstr("session was terminated\nsession was freed\ntoken was terminated\ntoken was freed\n"));
}

TEST_F(NSExtensionMain, ATerminatedSessionIsFreedAtOnce) {
  const int64_t session = Session();
  EXPECT_TRUE(m_client.TerminateSession(session));
  EXPECT_EQ(Outcome(m_client.TerminateSession(session)), "Wire 0");
  kill(m_process.pid(), SIGKILL);
  m_process.End();
  EXPECT_EQ(m_process.errors(), "session was terminated\nsession was freed\n");
}

TEST_F(NSExtensionMain, WhenTheHostClosesEverythingIsEndedInOrderAndTheProcessReturns) {
  Session();
  EXPECT_EQ(m_process.End(), 0);
  EXPECT_THAT(m_process.errors(),
              StartsWith("session was terminated\nsession was freed\ntoken was terminated\ntoken was freed\n"
                         "static objects were destroyed\n"));
}

TEST_F(NSExtensionMain, GarbageEndsTheProcessWithAMessage) {
  const char garbage[] = "GET / HTTP/1.1\r\n\r\n";
  ASSERT_EQ(write(m_process.socket(), garbage, sizeof garbage), static_cast<ssize_t>(sizeof garbage));
  EXPECT_EQ(m_process.End(), 1);
  EXPECT_THAT(m_process.errors(), HasSubstr("the host cannot be served: header of 542393671 bytes"));
}

TEST_F(NSExtensionMain, ATruncatedFrameEndsTheProcessWithAMessage) {
  const uint8_t half[] = {9, 0, 0};
  ASSERT_EQ(write(m_process.socket(), half, sizeof half), static_cast<ssize_t>(sizeof half));
  EXPECT_EQ(m_process.End(), 1);
  EXPECT_THAT(m_process.errors(), HasSubstr("the stream ended after 3 of 8 bytes"));
}

TEST_F(NSExtensionMain, AKilledProcessIsNoticedByTheClient) {
  Session();
  kill(m_process.pid(), SIGKILL);
  try {
    while (m_client.Hello()) {  // the end is near, but may not be at once
    }
    FAIL() << "nothing was thrown";
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_EQ(problem.kind(), Wire::ProtocolError::Kind::Closed);
  }
  EXPECT_EQ(m_process.End(), -SIGKILL);
}

TEST(NSExtensionMainArguments, WithoutASocketTheProcessSaysWhoStartsIt) {
  for (const char* option : {"--other=", "--host-socket=x", "--host-socket=99"}) {
    ExtensionProcess process(TEST_EXTENSION, option);
    EXPECT_EQ(process.End(), 2) << option;
    EXPECT_THAT(process.errors(), HasSubstr("an extension is started by its host, with --host-socket=DESCRIPTOR"));
  }
}

/// A copy of the extension whose Info.plist the test writes.
class BundleOfItsOwn : public ::testing::Test {
 protected:
  const std::filesystem::path m_contents =
      std::filesystem::path(::testing::TempDir()) / ("bundle-" + std::to_string(getpid()));

  BundleOfItsOwn() {
    std::filesystem::create_directories(m_contents / "MacOS");
    std::filesystem::copy_file(TEST_EXTENSION, m_contents / "MacOS" / "TestExtension");
  }
  ~BundleOfItsOwn() override { std::filesystem::remove_all(m_contents); }

  void WriteInfo(const std::string& attributes) {
    std::ofstream(m_contents / "Info.plist")
        << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>NSExtension</key><dict>"
           "<key>NSExtensionAttributes</key><dict>"
        << attributes << "</dict></dict></dict></plist>";
  }

  /// Exit status and message of the copy.
  std::string Run() {
    ExtensionProcess process((m_contents / "MacOS" / "TestExtension").string());
    const int status = process.End();
    return std::to_string(status) + " " + process.errors();
  }
};

TEST_F(BundleOfItsOwn, WithoutAPropertyListSaysSo) {
  EXPECT_THAT(Run(), HasSubstr("Info.plist: no readable property list"));
}

TEST_F(BundleOfItsOwn, WithoutADriverClassSaysWhatIsMissing) {
  WriteInfo("<key>com.apple.ctk.class-id</key><string>x</string>");
  EXPECT_THAT(Run(), HasSubstr("no text NSExtension / NSExtensionAttributes / com.apple.ctk.driver-class"));
}

TEST_F(BundleOfItsOwn, WithAClassThatIsNoDriverNamesTheClass) {
  WriteInfo(
      "<key>com.apple.ctk.class-id</key><string>x</string>"
      "<key>com.apple.ctk.driver-class</key><string>TestToken</string>");
  const std::string outcome = Run();
  EXPECT_EQ(outcome.substr(0, 2), "1 ");
  EXPECT_THAT(outcome, HasSubstr("no smart-card token driver class named TestToken"));
}

}  // namespace
