#include "host/keys/AlgorithmWalk.h"

#include <gtest/gtest.h>

#include <ostream>

using Host::Candidate;
using Wire::Algorithms;
using Wire::Operation;

namespace {

constexpr char kRaw[] = "algid:sign:RSA:raw";
constexpr char kRawStep[] = "algid:sign:RSA:raw-cc";
constexpr char kPkcs1[] = "algid:sign:RSA:digest-PKCS1v15";
constexpr char kX962[] = "algid:sign:ECDSA:digest-X962";

/// All lists that a token is shown which says no to each.
std::vector<Algorithms> Presented(Operation operation, const std::string& requested) {
  std::vector<Algorithms> lists;
  Host::FindSupported(operation, requested, [&](const Candidate& candidate) {
    lists.push_back(candidate.algorithms);
    return false;
  });
  return lists;
}

struct Row {
  Operation operation;
  std::string requested;
  std::vector<Algorithms> appended;  ///< by each step after the first question
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.requested;
}

class PresentedLists : public ::testing::TestWithParam<Row> {};

TEST_P(PresentedLists, GrowByWhatTheAdaptorAppendsUntilNoneIsLeft) {
  const Row& row = GetParam();
  std::vector<Algorithms> expected = {{row.requested}};
  for (const Algorithms& step : row.appended) {
    Algorithms next = expected.back();
    next.insert(next.end(), step.begin(), step.end());
    expected.push_back(next);
  }
  EXPECT_EQ(Presented(row.operation, row.requested), expected);
}

const Row kRows[] = {
    {Operation::SignData,
     "algid:sign:RSA:message-PKCS1v15:SHA256",
     {{"algid:sign:RSA:digest-PKCS1v15:SHA256"}, {kPkcs1, kRawStep}, {kRaw}}},
    {Operation::SignData, "algid:sign:RSA:digest-PKCS1v15:SHA1", {{kPkcs1, kRawStep}, {kRaw}}},
    {Operation::SignData, "algid:sign:RSA:digest-PKCS1v15:SHA512", {{kPkcs1, kRawStep}, {kRaw}}},
    {Operation::SignData, kPkcs1, {{kRawStep}, {kRaw}}},
    {Operation::SignData, kRaw, {{kRawStep}}},
    {Operation::SignData,
     "algid:sign:RSA:message-PSS:SHA384:SHA384:48",
     {{"algid:sign:RSA:digest-PSS:SHA384:SHA384:48"}, {kRawStep}, {kRaw}}},
    {Operation::SignData, "algid:sign:RSA:digest-PSS:SHA1:SHA1:20", {{kRawStep}, {kRaw}}},
    {Operation::SignData, "algid:sign:ECDSA:message-X962:SHA256", {{"algid:sign:ECDSA:digest-X962:SHA256"}, {kX962}}},
    {Operation::SignData, kX962, {}},
    {Operation::SignData, "algid:sign:ECDSA:RFC4754", {{kX962}}},
    {Operation::DecryptData, "algid:encrypt:RSA:PKCS1", {}},
    {Operation::DecryptData,
     "algid:encrypt:RSA:OAEP:SHA256",
     {{"algid:encrypt:RSA:raw-cc"}, {"algid:encrypt:RSA:raw"}}},
    {Operation::DecryptData, "algid:encrypt:RSA:raw", {{"algid:encrypt:RSA:raw-cc"}}},
    {Operation::PerformKeyExchange, "algid:keyexchange:ECDH:KDFX963:SHA256", {{"algid:keyexchange:ECDH"}}},
    {Operation::DecryptData,
     "algid:encrypt:ECIES:ECDH:KDFX963:SHA1:AESGCM",
     {{"algid:keyexchange:ECDH:KDFX963:SHA1"}, {"algid:keyexchange:ECDH"}}},
    {Operation::SignData, "algid:unheard-of", {}},
};

INSTANTIATE_TEST_SUITE_P(AlgorithmWalk, PresentedLists, ::testing::ValuesIn(kRows));

TEST(AlgorithmWalk, StopsAtTheFirstYes) {
  const auto found = Host::FindSupported(Operation::SignData, "algid:sign:RSA:message-PSS:SHA256:SHA256:32",
                                         [](const Candidate& candidate) { return candidate.algorithms.size() == 2; });
  ASSERT_TRUE(found);
  EXPECT_EQ(found->algorithms.back(), "algid:sign:RSA:digest-PSS:SHA256:SHA256:32");
  EXPECT_EQ(found->conversions, (std::vector<Host::Conversion>{{Host::Conversion::Kind::Hash, "SHA256"}}));
}

TEST(AlgorithmWalk, FindsNothingWhenTheTokenAlwaysSaysNo) {
  EXPECT_FALSE(Host::FindSupported(Operation::SignData, kRaw, [](const Candidate&) { return false; }));
}

TEST(AlgorithmWalk, AsksForAKeyAgreementOnceAnEciesDecryptionWasRefused) {
  std::vector<Operation> operations;
  Host::FindSupported(Operation::DecryptData, "algid:encrypt:ECIES:ECDH:KDFX963:SHA1:AESGCM",
                      [&](const Candidate& candidate) {
                        operations.push_back(candidate.operation);
                        return operations.size() == 2;
                      });
  EXPECT_EQ(operations, (std::vector<Operation>{Operation::DecryptData, Operation::PerformKeyExchange}));
}

}  // namespace
