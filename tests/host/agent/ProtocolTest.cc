#include "host/agent/Protocol.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using Ssh::Bytes;
using Ssh::Writer;

const Bytes kFailure = {5};
const Bytes kSuccess = {6};

/// One key that signs by giving back the data, unless no flag is set.
class OneKey : public Ssh::Keyring {
 public:
  std::vector<Ssh::Identity> Identities() override { return {{{1, 2, 3}, "comment"}}; }
  std::optional<Bytes> Sign(const Bytes& blob, const Bytes& data, uint32_t flags) override {
    return blob == Bytes{1, 2, 3} && flags != 0 ? std::optional(data) : std::nullopt;
  }
};

class Protocol : public ::testing::Test {
 protected:
  static Bytes SignRequest(const Bytes& blob, uint32_t flags) {
    return Writer().Byte(13).String(blob).String("data").Uint32(flags).Take();
  }
  static Bytes WithPassphrase(uint8_t type, const char* passphrase) {
    return Writer().Byte(type).String(passphrase).Take();
  }

  OneKey keyring;
  Ssh::Agent agent{keyring};
};

const Bytes kNoIdentities = {12, 0, 0, 0, 0};

TEST_F(Protocol, ListsTheKeysWithTheirComments) {
  EXPECT_EQ(agent.Answer({11}), Writer().Byte(12).Uint32(1).String(Bytes{1, 2, 3}).String("comment").Take());
}

TEST_F(Protocol, AnswersASignRequestWithTheSignature) {
  EXPECT_EQ(agent.Answer(SignRequest({1, 2, 3}, 4)), Writer().Byte(14).String("data").Take());
}

TEST_F(Protocol, RefusesWhatTheKeyringRefuses) {
  EXPECT_EQ(agent.Answer(SignRequest({1, 2}, 4)), kFailure);
  EXPECT_EQ(agent.Answer(SignRequest({1, 2, 3}, 0)), kFailure);
}

TEST_F(Protocol, HidesTheKeysBetweenLockAndUnlock) {
  EXPECT_EQ(agent.Answer(WithPassphrase(22, "secret")), kSuccess);
  EXPECT_EQ(agent.Answer({11}), kNoIdentities);
  EXPECT_EQ(agent.Answer(SignRequest({1, 2, 3}, 4)), kFailure);
  EXPECT_EQ(agent.Answer(WithPassphrase(22, "other")), kFailure);
  EXPECT_EQ(agent.Answer(WithPassphrase(23, "other")), kFailure);
  EXPECT_EQ(agent.Answer({11}), kNoIdentities);
  EXPECT_EQ(agent.Answer(WithPassphrase(23, "secret")), kSuccess);
  EXPECT_NE(agent.Answer({11}), kNoIdentities);
  EXPECT_EQ(agent.Answer(WithPassphrase(23, "secret")), kFailure);
}

TEST_F(Protocol, AnEmptyPassphraseLocksToo) {
  EXPECT_EQ(agent.Answer(WithPassphrase(22, "")), kSuccess);
  EXPECT_EQ(agent.Answer(WithPassphrase(23, "x")), kFailure);
  EXPECT_EQ(agent.Answer(WithPassphrase(23, "")), kSuccess);
}

struct Refused {
  const char* what;
  Bytes message;
};

void PrintTo(const Refused& refused, std::ostream* out) {
  *out << refused.what;
}

class Refusal : public Protocol, public ::testing::WithParamInterface<Refused> {};

TEST_P(Refusal, IsAFailureAndNothingElse) {
  EXPECT_EQ(agent.Answer(GetParam().message), kFailure);
  EXPECT_EQ(agent.Answer({11}).front(), 12);
}

const Refused kRefused[] = {
    {"nothing", {}},
    {"the first version's identities", {1}},
    {"a key to add", {17, 0, 0, 0, 7}},
    {"a key to remove", {18}},
    {"all keys to remove", {19}},
    {"a card to add", {20}},
    {"an extension", Writer().Byte(27).String("session-bind@openssh.com").Take()},
    {"a number that is not assigned", {255}},
    {"a sign request without a key", {13}},
    {"a sign request that ends in its data", {13, 0, 0, 0, 1, 9, 0, 0, 0, 9, 1}},
    {"a sign request without flags", {13, 0, 0, 0, 1, 9, 0, 0, 0, 1, 1}},
    {"a lock without a passphrase", {22, 0xFF, 0xFF, 0xFF, 0xFF}},
};

INSTANTIATE_TEST_SUITE_P(Protocol, Refusal, ::testing::ValuesIn(kRefused));

}  // namespace
