/// curl and a web server that demands a client certificate; the key stays on the card.

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <ostream>
#include <thread>

#include "tests/host/module/ModuleCard.h"
#include "tests/integration/OpenSSL.h"

namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

/// OpenSSL's server, which trusts the soft cards' authority and tells of the handshake on its one page.
class WebServer {
 public:
  explicit WebServer(const RealCard& card) : m_certificate(card.Path("server.pem")) {
    const std::string key = card.Path("server.key");
    RunOpenSSL({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-keyout", key,
                "-out", m_certificate, "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-days",
                "2"});
    m_server = std::make_unique<BackgroundChild>(
        QEL_OPENSSL,
        std::vector<std::string>{"s_server", "-accept", "127.0.0.1:0", "-cert", m_certificate, "-key", key, "-Verify",
                                 "1", "-verify_return_error", "-CAfile", card.Path("cards/ca/ca.pem"), "-www"},
        ChildEnvironment{}, card.Path("server.log"));
    m_server->WaitFor("ACCEPT ");
  }

  std::string Url() const {
    const std::string log = m_server->Log();
    const size_t address = log.find("ACCEPT ");
    const size_t port = log.find(':', address) + 1;
    return "https://localhost:" + log.substr(port, log.find_first_of("\r\n", port) - port) + "/";
  }

  const std::string& Certificate() const { return m_certificate; }
  void Signal(int number) const {
    if (m_server->ProcessId() > 0) kill(m_server->ProcessId(), number);  // 0 would be this test and all beside it
  }

 private:
  std::string m_certificate;
  std::unique_ptr<BackgroundChild> m_server;
};

std::vector<std::string> CurlArguments(const ModuleCard& card, const WebServer& server, const std::string& pin,
                                       const std::vector<std::string>& more = {}) {
  std::vector<std::string> arguments = {"-sS",    "--cacert", server.Certificate(),   "--engine",
                                        "pkcs11", "--cert",   card.CertificateFile(), "--key-type",
                                        "ENG",    "--key",    card.KeyUri(pin),       server.Url()};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

struct Row {
  const char* key;
  const char* oldest;
  const char* newest;
  const char* signature;  ///< as the server names it
  const char* scheme;     ///< as servers of OpenSSL 3.5 and later do
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.key << " TLS " << row.newest;
}

class ClientCertificate : public ::testing::TestWithParam<Row> {};

TEST_P(ClientCertificate, IsTakenByAServerThatDemandsOne) {
  const ModuleCard card(GetParam().key);
  const WebServer server(card.Card());
  const ChildResult result = card.Run(
      QEL_CURL, CurlArguments(card, server, ModuleCard::Pin(), {GetParam().oldest, "--tls-max", GetParam().newest}));
  EXPECT_EQ(result.exitStatus, 0) << result.errors << card.Log();
  const std::string type = "Peer signature type: ";
  EXPECT_THAT(result.output, AnyOf(HasSubstr(type + GetParam().signature), HasSubstr(type + GetParam().scheme)));
  EXPECT_THAT(result.output, HasSubstr(std::string("Protocol  : TLSv") + GetParam().newest));
}

INSTANTIATE_TEST_SUITE_P(Module, ClientCertificate,
                         ::testing::Values(Row{"rsa2048", "--tlsv1.2", "1.2", "RSA-PSS", "rsa_pss_rsae_"},
                                           Row{"rsa3072", "--tlsv1.3", "1.3", "RSA-PSS", "rsa_pss_rsae_"},
                                           Row{"p256", "--tlsv1.2", "1.2", "ECDSA", "ecdsa_secp256r1_"},
                                           Row{"p384", "--tlsv1.3", "1.3", "ECDSA", "ecdsa_secp384r1_"}));

TEST(ClientCertificateRefused, AWrongPinIsToldOfInOneLineAndNoRequestIsMade) {
  const ModuleCard card("rsa2048");
  const WebServer server(card.Card());
  const ChildResult result = card.Run(QEL_CURL, CurlArguments(card, server, "wrong"));
  EXPECT_NE(result.exitStatus, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(card.Log(), HasSubstr("ctkhost: login failed: wrong PIN (TKErrorDomain -8); tries left: 1\n"));
}

TEST(ClientCertificateRefused, WithoutACardOneLineSaysSo) {
  const ModuleCard card("p256");
  const WebServer server(card.Card());
  ASSERT_EQ(card.Card().SoftCard({"remove"}).exitStatus, 0);
  const ChildResult result = card.Run(QEL_CURL, CurlArguments(card, server, ModuleCard::Pin()));
  EXPECT_NE(result.exitStatus, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(card.Log(), HasSubstr("ctkhost: no card in any reader; put one in and try again\n"));
}

TEST(ClientCertificateRefused, ACardThatIsPulledInTheMiddleEndsTheHandshakeWithOneLine) {
  const ModuleCard card("p256");
  const WebServer server(card.Card());
  const std::string url = server.Url();
  server.Signal(SIGSTOP);  // takes the connection, and answers it when it goes on
  BackgroundChild curl(QEL_CURL, CurlArguments(card, server, ModuleCard::Pin()), card.Environment(),
                       card.Card().Path("curl.log"));
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (card.Card().Text("trace").find(" C_Login(") == std::string::npos &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  std::this_thread::sleep_for(std::chrono::seconds(1));
  ASSERT_EQ(card.Card().SoftCard({"remove"}).exitStatus, 0);
  server.Signal(SIGCONT);
  curl.WaitFor("curl: (");
  EXPECT_THAT(curl.Log(), HasSubstr("curl: ("));
  const std::string told = "ctkhost: signing failed: the card was taken out of QEL Soft Reader 00; ";
  EXPECT_THAT(card.Log(), HasSubstr(told));
  EXPECT_EQ(card.Log().find(told), card.Log().rfind(told)) << "more than one line";
}

TEST(Applications, EachHaveALoginOfTheirOwn) {
  const ModuleCard card("p256");
  const WebServer server(card.Card());
  EXPECT_EQ(card.Run(QEL_CURL, CurlArguments(card, server, ModuleCard::Pin())).exitStatus, 0);
  EXPECT_NE(card.Run(QEL_CURL, CurlArguments(card, server, "wrong")).exitStatus, 0);
  EXPECT_EQ(card.Run(QEL_CURL, CurlArguments(card, server, ModuleCard::Pin())).exitStatus, 0) << card.Log();
}

}  // namespace
