#include <gtest/gtest.h>

#include <ostream>

#include "tests/host/agent/SshServer.h"

namespace {

struct Row {
  const char* key;
  const char* algorithm;
  const char* type;  ///< the server's word for the key
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.key << " with " << row.algorithm;
}

class Login : public ::testing::TestWithParam<Row> {};

TEST_P(Login, SucceedsWithTheCardsKey) {
  const CardAgent agent({GetParam().key});
  const SshServer server(agent.Card(), agent.KeyFiles().at(0));
  const std::string algorithms = std::string("PubkeyAcceptedAlgorithms=") + GetParam().algorithm;
  const ChildResult result = server.Run(agent, "echo reached $((6 * 7))", {"-o", algorithms});
  EXPECT_EQ(result.exitStatus, 0) << result.errors << server.Log();
  EXPECT_EQ(result.output, "reached 42\n");
  const std::string log = server.Log();
  EXPECT_NE(log.find(std::string(" signature using ") + GetParam().algorithm + " verified"), std::string::npos) << log;
  const size_t accepted = log.find("Accepted publickey for ");
  ASSERT_NE(accepted, std::string::npos) << log;
  const std::string line = log.substr(accepted, log.find('\n', accepted) - accepted);
  EXPECT_NE(line.find(std::string(" ssh2: ") + GetParam().type + " SHA256:"), std::string::npos) << line;
}

const Row kRows[] = {
    {"rsa2048", "rsa-sha2-256", "RSA"},       {"rsa2048", "rsa-sha2-512", "RSA"},
    {"rsa3072", "rsa-sha2-512", "RSA"},       {"p256", "ecdsa-sha2-nistp256", "ECDSA"},
    {"p384", "ecdsa-sha2-nistp384", "ECDSA"},
};

INSTANTIATE_TEST_SUITE_P(Ssh, Login, ::testing::ValuesIn(kRows));

TEST(Ssh, AnotherCardsKeyIsNotLetIn) {
  const CardAgent agent({"p256"});
  const CardAgent other({"p256"});
  const SshServer server(agent.Card(), agent.KeyFiles().at(0));
  const ChildResult result = server.Run(other, "echo reached", {});
  EXPECT_EQ(result.exitStatus, 255);
  EXPECT_EQ(result.output, "");
  EXPECT_NE(result.errors.find("Permission denied (publickey)"), std::string::npos) << result.errors;
}

TEST(Ssh, TheOldSignatureWithSha1IsRefused) {
  const CardAgent agent({"rsa2048"});
  const SshServer server(agent.Card(), agent.KeyFiles().at(0));
  const ChildResult result = server.Run(agent, "echo reached", {"-o", "PubkeyAcceptedAlgorithms=ssh-rsa"});
  EXPECT_EQ(result.exitStatus, 255);
  AgentClient client(agent.Socket());
  EXPECT_EQ(client.Ask(SignRequest(agent.KeyBlobs().at(0), "data", 0)), Ssh::Bytes{5});
  EXPECT_TRUE(IsSigned(client.Ask(SignRequest(agent.KeyBlobs().at(0), "data", 2))));
}

}  // namespace
