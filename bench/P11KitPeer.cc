// p11-kit's own wrapper around a module, which lets several users of a process share it, as a program that calls
// PKCS#11 itself uses it: the key's handle is kept, and an operation is two calls. Its instructions are counted; it has
// no time of its own worth measuring.

#include <p11-kit/p11-kit.h>

#include <cstdio>
#include <cstdlib>

#include "bench/BenchCard.h"
#include "bench/OwnCounts.h"
#include "bench/OwnTime.h"

namespace {

void Require(bool fulfilled, const char* what) {
  if (fulfilled) return;
  std::fprintf(stderr, "%s failed\n", what);
  std::exit(1);
}

/// The first token of the store, with the user logged in. Open until the process ends.
Bare::Card Open() {
  BenchCard::Use(BenchCard::kMain);
  auto* const functions = reinterpret_cast<CK_FUNCTION_LIST*>(p11_kit_module_load(TimedLibrary(), 0));
  Require(functions != nullptr, "p11_kit_module_load");
  Require(functions->C_Initialize(nullptr) == CKR_OK, "C_Initialize");
  CK_SLOT_ID slots[8];
  CK_ULONG count = std::size(slots);
  Require(functions->C_GetSlotList(CK_TRUE, slots, &count) == CKR_OK && count > 0, "C_GetSlotList");
  Bare::Card card = {functions, CK_INVALID_HANDLE};
  Require(functions->C_OpenSession(slots[0], CKF_SERIAL_SESSION, nullptr, nullptr, &card.session) == CKR_OK,
          "C_OpenSession");
  std::string pin = BenchCard::kPin;
  auto* const bytes = reinterpret_cast<CK_UTF8CHAR*>(pin.data());
  Require(functions->C_Login(card.session, CKU_USER, bytes, pin.size()) == CKR_OK, "C_Login");
  return card;
}

std::function<void()> MakeOperation(Operation operation, const SigningKey& key) {
  static const Bare::Card card = Open();
  const CK_OBJECT_HANDLE handle = Bare::FindPrivateKey(card, key.id);
  switch (operation) {
    case Operation::Signature:
      return [=, input = key.CardInput()] { Bare::SignWithKey(card, handle, key.mechanism, input); };
    case Operation::Decryption:
      return [=, ciphertext = BenchCard::Ciphertext()] { Bare::DecryptWithKey(card, handle, ciphertext); };
    case Operation::Agreement: {
      const auto peer = BenchCard::PeerKey();
      return [=, point = Bare::ByteString(peer.end() - 64, peer.end())] {
        Bare::AgreeWithKey(card, handle, point, kAgreedBytes);
      };
    }
  }
  return {};
}

}  // namespace

int main() {
  return CountOperations(MakeOperation);
}
