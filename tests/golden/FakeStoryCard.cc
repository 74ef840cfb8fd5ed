#include "tests/golden/StoryCard.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/card/FakeCard.h"

using namespace TestCard;

namespace {

/// A slot whose objects have the handles from `handle` on, which then is the next free one.
FakeSlot StorySlot(CK_SLOT_ID id, const StoryContents& contents, CK_OBJECT_HANDLE& handle) {
  FakeSlot slot{id, kStoryReader};
  for (size_t key = 0; key < contents.keysPerSlot; ++key) {
    const ByteString keyID = {static_cast<CK_BYTE>(key + 1)};
    slot.objects.push_back(UserCertificate(handle++, keyID, "certificate",
                                           contents.rsa ? TestCertificates::Rsa() : TestCertificates::Ec()));
    slot.objects.push_back(PublicKeyObject(handle++, keyID, "key", contents.rsa ? CKK_RSA : CKK_EC));
    slot.objects.push_back(PrivateKeyObject(handle++, keyID));
  }
  slot.objects.push_back(UserCertificate(handle++, {0xCA}, "authority", TestCertificates::Ec()));
  slot.objects.back().attributes[CKA_CERTIFICATE_CATEGORY] = Ulong(2);
  return slot;
}

}  // namespace

std::unique_ptr<Card> MakeStoryCard(const StoryContents& contents) {
  std::vector<FakeSlot> slots;
  CK_OBJECT_HANDLE handle = 1;
  while (slots.size() < contents.slots) slots.push_back(StorySlot(slots.size(), contents, handle));
  slots.push_back({slots.size(), "Another Reader"});
  auto card = std::make_unique<FakeCard>(slots);
  card->IgnoreLeftovers();  // the traces tell
  return card;
}
