// The public keys of others that `ctkhost agree` takes, as openssl writes them.

#include <gtest/gtest.h>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

class PeerKey : public ::testing::Test {
 protected:
  /// A peer's key on the card's curve, with or without the numbers of the curve in it.
  void MakePeer(const std::string& encoding) const {
    Made({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-pkeyopt", "ec_param_enc:" + encoding,
          "-out", m_card.Path("peer")});
    Made({"pkey", "-in", m_card.Path("peer"), "-pubout", "-out", m_card.Path("peer.pub")});
  }

  static void Made(const std::vector<std::string>& arguments) {
    const ChildResult result = RunOpenSSL(arguments);
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
  }

  ChildResult Agree() const {
    return m_card.Host({"agree", "--key", m_card.KeyID(), "--peer", m_card.Path("peer.pub"), "--size", "16", "--out",
                        m_card.Path("secret")});
  }

  RealCard m_card{{"--key", "p256"}};
};

TEST_F(PeerKey, OnANamedCurveIsTaken) {
  MakePeer("named_curve");
  EXPECT_EQ(Agree().exitStatus, 0);
}

TEST_F(PeerKey, ThatBringsTheNumbersOfItsCurveIsRefused) {
  MakePeer("explicit");
  const ChildResult result = Agree();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("has curve parameters of its own; only named curves are used"), std::string::npos)
      << result.errors;
  EXPECT_FALSE(m_card.Has("secret"));
}

TEST_F(PeerKey, BesideItsCurveIsRefusedForThat) {
  MakePeer("named_curve");
  Made({"pkey", "-pubin", "-in", m_card.Path("peer.pub"), "-outform", "DER", "-out", m_card.Path("peer.der")});
  std::string der = m_card.Text("peer.der");
  der.back() = static_cast<char>(der.back() ^ 1);
  m_card.Write("peer.der", der);
  Made({"base64", "-in", m_card.Path("peer.der"), "-out", m_card.Path("peer.base64")});
  m_card.Write("peer.pub", "-----BEGIN PUBLIC KEY-----\n" + m_card.Text("peer.base64") + "-----END PUBLIC KEY-----\n");
  const ChildResult result = Agree();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("is not on the curve that it names"), std::string::npos) << result.errors;
}

TEST_F(PeerKey, AtInfinityIsRefusedForThat) {
  m_card.Write("peer.pub",
               "-----BEGIN PUBLIC KEY-----\nMBkwEwYHKoZIzj0CAQYIKoZIzj0DAQcDAgAA\n-----END PUBLIC KEY-----\n");
  const ChildResult result = Agree();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_NE(result.errors.find("is no point with coordinates on its curve"), std::string::npos) << result.errors;
}

}  // namespace
