#include <dlfcn.h>

#include <algorithm>
#include <filesystem>

#include "softcard/library/Beneath.h"
#include "softcard/library/DeriveKey.h"
#include "softcard/program/Personalise.h"
#include "tests/golden/StoryCard.h"
#include "tests/support/card/ForwardingCard.h"

namespace {

class TokenFolder {
 public:
  TokenFolder() {
    std::string path = (std::filesystem::temp_directory_path() / "qel-tokens-XXXXXX").string();
    m_path = mkdtemp(path.data());
  }
  ~TokenFolder() { std::filesystem::remove_all(m_path); }
  TokenFolder(const TokenFolder&) = delete;
  TokenFolder& operator=(const TokenFolder&) = delete;

  const std::filesystem::path& Path() const { return m_path; }

 private:
  std::filesystem::path m_path;
};

/// SoftHSM2 with the readers' names in the slot descriptions, which it does not let us choose.
class SoftHsmCard : private TokenFolder, private SoftCard::ScopedEnvironment, public TestCard::ForwardingCard {
 public:
  explicit SoftHsmCard(const StoryContents& contents)
      : ScopedEnvironment("SOFTHSM2_CONF", (Path() / "softhsm2.conf").string()),
        ForwardingCard(Personalised(contents)) {}
  ~SoftHsmCard() override { SoftCard::Beneath()->C_Finalize(nullptr); }

 protected:
  CK_RV Answer(TestCard::Call& call) override {
    if (std::string(call.name) == "C_DeriveKey") return Derive(call);
    const CK_RV rv = ForwardingCard::Answer(call);
    if (rv == CKR_OK && std::string(call.name) == "C_GetSlotInfo") NameReader(call);
    return rv;
  }

 private:
  CK_FUNCTION_LIST* Personalised(const StoryContents& contents) {
    // The soft card's library keeps its state until the process ends; unloaded, it would look like a leak.
    dlopen(SOFTCARD_LIBRARY, RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    const std::vector<std::string> keys(contents.slots * contents.keysPerSlot, contents.rsa ? "rsa2048" : "p256");
    SoftCard::Personalise(Path(), SOFTCARD_LIBRARY, {{"story"}, contents.slots, keys, {}}, "1234");
    SoftCard::LoadBeneath({});
    return SoftCard::Beneath();
  }

  /// SoftHSM2 knows neither the derivation nor the form of the point that the maker's library takes.
  static CK_RV Derive(TestCard::Call& call) {
    return SoftCard::CardDeriveKey(call.session, call.mechanism, call.object, call.attributes, call.attributeCount,
                                   static_cast<CK_OBJECT_HANDLE*>(call.output));
  }

  static void NameReader(TestCard::Call& call) {
    CK_TOKEN_INFO token{};
    SoftCard::Beneath()->C_GetTokenInfo(call.slot, &token);
    const bool isStory = (token.flags & CKF_TOKEN_INITIALIZED) != 0;
    const std::string name = isStory ? kStoryReader : "Another Reader";
    auto& description = static_cast<CK_SLOT_INFO*>(call.output)->slotDescription;
    std::fill(std::begin(description), std::end(description), ' ');
    std::copy(name.begin(), name.end(), description);
  }
};

}  // namespace

std::unique_ptr<TestCard::Card> MakeStoryCard(const StoryContents& contents) {
  return std::make_unique<SoftHsmCard>(contents);
}
