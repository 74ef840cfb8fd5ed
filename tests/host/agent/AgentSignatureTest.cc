#include <gtest/gtest.h>

#include <ostream>

#include "tests/host/agent/CardAgent.h"

namespace {

class Signature : public ::testing::TestWithParam<const char*> {
 protected:
  /// Makes the file of those whose signatures count.
  std::string Allow(const std::string& key) {
    agent.Card().Write("allowed", "user@example.org " + key + "\n");
    return agent.Card().Path("allowed");
  }
  ChildResult Git(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"-C", agent.Card().Path("repository"), "-c", "user.name=User", "-c",
                                         "user.email=user@example.org", "-c", "gpg.format=ssh", "-c",
                                         "gpg.ssh.allowedSignersFile=" + agent.Card().Path("allowed")});
    return agent.Run(QEL_GIT, arguments);
  }
  ChildResult VerifyFile(const std::string& message, const std::string& allowed) {
    // ssh-keygen reads the message from its standard input.
    return agent.Run("/bin/sh", {"-c", "exec \"$0\" -Y verify -n file -I user@example.org -f \"$1\" -s \"$2\" < \"$3\"",
                                 QEL_SSH_KEYGEN, allowed, agent.Card().Path("message.sig"), message});
  }

  CardAgent agent{{GetParam()}};
  const std::string foreignKey = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAAIAABAgMEBQYHCAkKCwwNDg8QERITFBUWFxgZGhscHR4f";
};

TEST_P(Signature, OfAFileIsVerifiedBySshKeygen) {
  const RealCard& card = agent.Card();
  const ChildResult made =
      agent.Run(QEL_SSH_KEYGEN, {"-Y", "sign", "-n", "file", "-f", agent.KeyFiles().at(0), card.Path("message")});
  ASSERT_EQ(made.exitStatus, 0) << made.errors;
  const std::string allowed = Allow(agent.Keys().at(0));
  const ChildResult verified = VerifyFile(card.Path("message"), allowed);
  EXPECT_EQ(verified.exitStatus, 0) << verified.errors;
  EXPECT_EQ(verified.output.rfind("Good \"file\" signature for user@example.org with ", 0), 0u) << verified.output;
  card.Write("other", "Pay 900 to the bearer.\n");
  EXPECT_NE(VerifyFile(card.Path("other"), allowed).exitStatus, 0);
  EXPECT_NE(VerifyFile(card.Path("message"), Allow(foreignKey)).exitStatus, 0);
}

TEST_P(Signature, OfACommitIsVerifiedByGit) {
  ASSERT_EQ(agent.Run(QEL_GIT, {"init", "-q", agent.Card().Path("repository")}).exitStatus, 0);
  const ChildResult committed =
      Git({"-c", "user.signingkey=" + agent.KeyFiles().at(0), "commit", "-q", "-S", "--allow-empty", "-m", "Signed"});
  ASSERT_EQ(committed.exitStatus, 0) << committed.errors;
  Allow(agent.Keys().at(0));
  const ChildResult verified = Git({"verify-commit", "HEAD"});
  EXPECT_EQ(verified.exitStatus, 0);
  EXPECT_EQ(verified.errors.rfind("Good \"git\" signature for user@example.org with ", 0), 0u) << verified.errors;
  const ChildResult log = Git({"log", "--show-signature", "-1"});
  EXPECT_NE(log.output.find("\nGood \"git\" signature for user@example.org with "), std::string::npos) << log.output;
  Allow(foreignKey);
  EXPECT_NE(Git({"verify-commit", "HEAD"}).exitStatus, 0);
}

INSTANTIATE_TEST_SUITE_P(Agent, Signature, ::testing::Values("rsa2048", "p256", "p384"));

TEST(Listing, ShowsEachKeyOfTheCardWithItsLabel) {
  const CardAgent agent({"rsa2048", "p256", "p384"});
  std::map<std::string, std::string> labels;
  for (const auto& item : agent.Card().Items())
    if (item.at("kind") == "key") labels[item.at("label")] = item.at("objectID");
  const std::vector<std::string> keys = agent.Keys();
  EXPECT_EQ(keys.size(), 3u);
  for (const std::string& line : keys) {
    const size_t comment = line.find(' ', line.find(' ') + 1) + 1;
    const auto label = labels.find(line.substr(comment));
    ASSERT_NE(label, labels.end()) << line;
    // ssh-keygen's own reading of the certificate's key.
    const ChildResult converted =
        RunChild(QEL_SSH_KEYGEN, {"-i", "-m", "PKCS8", "-f", agent.Card().ExportPublicKey(label->second)});
    EXPECT_EQ(converted.output, line.substr(0, comment - 1) + "\n");
  }
}

}  // namespace
