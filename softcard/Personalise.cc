#include "softcard/Personalise.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <stdexcept>

#include "softcard/Beneath.h"
#include "softcard/DemoAuthority.h"
#include "softcard/KeyObjects.h"
#include "softcard/Softoken.h"

namespace SoftCard {

namespace {

constexpr CK_ULONG kTokenUser = 1;
constexpr CK_ULONG kAuthority = 2;

std::string RandomDigits() {
  unsigned char random[16];
  if (RAND_bytes(random, sizeof random) != 1) FailInOpenssl("random numbers");
  std::string digits;
  for (const auto byte : random) digits += static_cast<char>('0' + byte % 10);
  return digits;
}

/// `State::library` for a new card: all cards of a state have the same.
std::string LibraryFor(const State& state, const std::string& over) {
  std::string library = over.empty() ? state.library : over == "nss" ? kSoftoken : "";
  const bool fresh = state.cards.empty() && state.library.empty();
  if (!fresh && library != state.library)
    throw std::runtime_error("the library beneath the cards here is " +
                             (state.library.empty() ? "SoftHSM2" : state.library) +
                             "; QEL_SOFTCARD_DIR chooses another folder for cards over another library");
  if ((!library.empty() && library != kSoftoken) || !state.parameters.empty())
    throw std::runtime_error(
        "cards are made over SoftHSM2 and NSS softoken only, without parameters; see softcard beneath");
  return library;
}

/// The library's slot whose token is not initialized yet.
CK_SLOT_ID FreeSlot(const Pkcs11Library& library) {
  for (const auto slot : library.Slots()) {
    CK_TOKEN_INFO info{};
    if (library->C_GetTokenInfo(slot, &info) == CKR_OK && (info.flags & CKF_TOKEN_INITIALIZED) == 0) return slot;
  }
  throw std::runtime_error("the library beneath has no free token to initialize");
}

/// Names a token of SoftHSM2. Returns the security officer's PIN: random and forgotten, since nothing here needs it
/// again.
std::string InitializeToken(const Pkcs11Library& library, CK_SLOT_ID slot, const std::string& label) {
  auto officerPin = RandomDigits();
  CK_UTF8CHAR padded[32];
  Pad(label, padded);
  auto* const officer = reinterpret_cast<CK_UTF8CHAR*>(officerPin.data());
  Require("C_InitToken", library->C_InitToken(slot, officer, officerPin.size(), padded));
  return officerPin;
}

Token SetPin(const Pkcs11Library& library, CK_SLOT_ID slot, std::string officerPin, const std::string& pin) {
  {
    const LoggedInSession session(library, slot, CKU_SO, officerPin);
    auto* const user = reinterpret_cast<CK_UTF8CHAR*>(const_cast<char*>(pin.data()));
    const auto result = session->C_InitPIN(session.Handle(), user, pin.size());
    if (result == CKR_PIN_LEN_RANGE) throw std::runtime_error("the PIN is too short or too long for a card");
    Require("C_InitPIN", result);
  }
  OPENSSL_cleanse(officerPin.data(), officerPin.size());
  CK_TOKEN_INFO info{};
  Require("C_GetTokenInfo", library->C_GetTokenInfo(slot, &info));
  return {Unpadded(info.label), Unpadded(info.serialNumber), kPinTries};
}

/// A key to come onto the card: read from files before any token is made, or a type to generate.
struct PlannedKey {
  std::string type;
  KeyPointer imported;
  CertificatePointer certificate;
};

std::vector<PlannedKey> Plan(const CardOrder& order) {
  std::vector<PlannedKey> plan;
  for (const auto& type : order.generate) plan.push_back({type, nullptr, nullptr});
  for (const auto& files : order.import) {
    PlannedKey key{"", ReadPrivateKey(files.key), nullptr};
    Describe(key.imported.get());
    if (!files.certificate.empty()) {
      key.certificate = ReadCertificate(files.certificate);
      if (X509_check_private_key(key.certificate.get(), key.imported.get()) != 1)
        throw std::runtime_error(files.certificate.string() + ": is not the certificate of " + files.key.string());
    }
    plan.push_back(std::move(key));
  }
  return plan;
}

void WriteKey(const LoggedInSession& session, const DemoAuthority& authority, PlannedKey& planned, size_t number) {
  const Bytes id{static_cast<unsigned char>(number)};
  const auto type = planned.imported ? Describe(planned.imported.get()) : Describe(planned.type);
  const auto name = type + " key " + std::to_string(number);
  KeyPointer generated;
  if (planned.imported)
    ImportKeyPair(session, planned.imported.get(), {name, id});
  else
    generated = GenerateKeyPair(session, planned.type, {name, id});
  auto* const key = planned.imported ? planned.imported.get() : generated.get();
  if (!planned.certificate) planned.certificate = authority.Issue(key, name);
  StoreCertificate(session, planned.certificate.get(), kTokenUser,
                   {type + " certificate " + std::to_string(number), id});
}

}  // namespace

void Personalise(const std::filesystem::path& directory, const std::string& softCardLibrary, CardOrder order,
                 const std::string& pin) {
  auto before = Load(directory);
  if (before.FindCard(order.card.name))
    throw std::runtime_error("there is a card " + order.card.name + " already; choose another name");
  const auto libraryBeneath = LibraryFor(before, order.over);
  const bool softoken = libraryBeneath == kSoftoken;
  auto plan = Plan(order);
  for (size_t slot = 0; slot < order.slots; slot++)
    order.card.tokens.push_back({order.card.name + (slot ? " " + std::to_string(slot + 1) : ""), "", kPinTries});
  before.cards.push_back(order.card);
  if (softoken) SoftokenParameters(directory, before.cards);  // refuses a card for which softoken has no slots left
  MakePrivateDirectory(directory);
  const DemoAuthority authority(directory);
  {
    const ScopedEnvironment store("SOFTHSM2_CONF", PrepareTokenStore(directory));
    // Without this the library would show the readers that there are, and not the free token beneath.
    const ScopedEnvironment forwarding("QEL_SOFTCARD_DIR", std::nullopt);
    if (softoken) MakeSoftokenDatabases(directory, order.card);
    const Pkcs11Library library(softoken ? kSoftoken : softCardLibrary,
                                softoken ? SoftokenParameters(directory, {order.card}) : "");
    for (size_t slot = 0; slot < order.slots; slot++) {
      auto& token = order.card.tokens[slot];
      const auto tokenSlot = FreeSlot(library);
      token = SetPin(library, tokenSlot, softoken ? "" : InitializeToken(library, tokenSlot, token.label), pin);
      const LoggedInSession session(library, tokenSlot, CKU_USER, pin);
      StoreCertificate(session, authority.Certificate(), kAuthority, {"Demo CA", {0xCA}});
      for (size_t key = slot; key < plan.size(); key += order.slots) WriteKey(session, authority, plan[key], key + 1);
    }
  }
  // Softoken's tokens have the same serial number all.
  if (softoken && order.card.serial.empty()) order.card.serial = RandomDigits();
  Update(directory, [&](State& state) {
    state.library = libraryBeneath;
    state.cards.push_back(order.card);
  });
}

}  // namespace SoftCard
