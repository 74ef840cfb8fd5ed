#include "host/keys/ItemLookup.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <nlohmann/json.hpp>

#include "tests/host/FakeCard.h"

namespace {

using Kind = Wire::Item::Kind;

/// A card whose certificates have labels that look like something else.
class ItemLookup : public ::testing::Test {
 protected:
  ItemLookup() {
    setenv("FAKE_EXTENSION", m_card.Path("").c_str(), 1);
    nlohmann::json items = nlohmann::json::array();
    const auto add = [&](const char* id, const char* label) {
      items.push_back({{"kind", "certificate"},
                       {"certificate", "3000"},
                       {"objectID", id},
                       {"label", label},
                       {"constraints", nlohmann::json::object()}});
    };
    add("1101", "mine");
    add("1102", "1101");
    add("1103", "label:mine");
    add("1104", "twin");
    add("1105", "twin");
    const nlohmann::json token = {{"token", 7}, {"instanceID", "QEL-FAKE"}, {"items", items}};
    m_card.Script("createToken", {"answer " + token.dump()});
    m_tokens.push_back(std::make_unique<Host::CardToken>(m_process, "Test Reader"));
  }
  ~ItemLookup() override { unsetenv("FAKE_EXTENSION"); }

  /// The identifier of the certificate that `name` finds, or the failure.
  std::string Found(const std::string& name) const {
    try {
      return Host::FindItem(m_tokens, Kind::Certificate, name).item->objectID;
    } catch (const Host::Failure& failure) {
      return failure.what();
    }
  }

  FakeCard m_card;
  Host::ExtensionProcess m_process{QEL_FAKE_BUNDLE, std::chrono::seconds(20)};
  Host::CardTokens m_tokens;
};

TEST_F(ItemLookup, AnIdentifierWinsOverALabelThatLooksLikeIt) {
  EXPECT_EQ(Found("1101"), "1101");
  EXPECT_EQ(Found("mine"), "1101");
}

TEST_F(ItemLookup, APrefixSaysWhichIsMeant) {
  EXPECT_EQ(Found("id:1101"), "1101");
  EXPECT_EQ(Found("label:1101"), "1102");
  EXPECT_EQ(Found("label:mine"), "1101");
  EXPECT_EQ(Found("label:label:mine"), "1103");
  EXPECT_EQ(Found("id:mine"), "no certificate is called 'id:mine'; 'ctkhost list' shows the certificates");
}

TEST_F(ItemLookup, ALabelOfTwoItemsNamesNone) {
  EXPECT_EQ(Found("twin"), "2 certificates are called 'twin'; name one by its ID in 'ctkhost list', or use --reader");
  EXPECT_EQ(Found("1105"), "1105");
}

}  // namespace
