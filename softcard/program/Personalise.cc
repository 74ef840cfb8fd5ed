#include "softcard/program/Personalise.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>

#include "softcard/program/Commands.h"
#include "softcard/program/DemoAuthority.h"
#include "softcard/program/KeyObjects.h"
#include "softcard/state/RealLibrary.h"
#include "softcard/state/Softoken.h"

namespace SoftCard {

namespace {

const Bytes kAuthorityIdentifier = {0xCA};

void FreeBytes(unsigned char* bytes) {
  OPENSSL_free(bytes);
}

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

/// A key or a certificate to come onto the card: read from files before any token is made, or a type to generate.
struct PlannedKey {
  std::string type;  ///< of a key to generate
  ImportedKey files;
  KeyPointer imported;
  CertificatePointer certificate;
  Bytes identifier;
};

Bytes BytesOfHex(const std::string& hex) {
  long length = 0;
  const std::unique_ptr<unsigned char, OpensslFree<FreeBytes>> bytes(OPENSSL_hexstr2buf(hex.c_str(), &length));
  if (!bytes || length == 0) throw std::runtime_error("id=" + hex + ": not hexadecimal");
  return Bytes(bytes.get(), bytes.get() + length);
}

/// The number as an identifier, in as few bytes as it needs.
Bytes IdentifierOf(size_t number) {
  Bytes identifier;
  for (; number > 0; number >>= 8) identifier.insert(identifier.begin(), static_cast<unsigned char>(number & 0xFF));
  return identifier;
}

PlannedKey PlanImport(const ImportedKey& files) {
  PlannedKey planned{"", files, nullptr, nullptr, {}};
  if (!files.identifier.empty()) planned.identifier = BytesOfHex(files.identifier);
  if (!files.certificate.empty()) planned.certificate = ReadCertificate(files.certificate);
  if (files.key.empty()) return planned;
  planned.imported = ReadPrivateKey(files.key);
  try {
    Describe(planned.imported.get());
  } catch (const std::runtime_error& problem) {
    throw std::runtime_error(files.key.string() + ": " + problem.what());
  }
  if (planned.certificate && X509_check_private_key(planned.certificate.get(), planned.imported.get()) != 1)
    throw std::runtime_error(files.certificate.string() + ": is not the certificate of " + files.key.string());
  return planned;
}

/// Two keys with one identifier on a card could not be told apart: those without a chosen one take free numbers.
void NumberTheRest(std::vector<PlannedKey>& plan) {
  std::set<Bytes> taken = {kAuthorityIdentifier};
  for (const auto& planned : plan)
    if (!planned.identifier.empty() && !taken.insert(planned.identifier).second)
      throw std::runtime_error("id=" + planned.files.identifier + ": two of the card's objects cannot share it");
  size_t number = 0;
  for (auto& planned : plan)
    while (planned.identifier.empty())
      if (const auto next = IdentifierOf(++number); taken.insert(next).second) planned.identifier = next;
}

std::vector<PlannedKey> Plan(const CardOrder& order) {
  std::vector<PlannedKey> plan;
  for (const auto& type : order.generate) plan.push_back({type, {}, nullptr, nullptr, {}});
  for (const auto& files : order.import) plan.push_back(PlanImport(files));
  NumberTheRest(plan);
  return plan;
}

void WriteKey(const LoggedInSession& session, const DemoAuthority& authority, PlannedKey& planned, size_t number) {
  const auto& id = planned.identifier;
  const auto named = [&](const std::string& kind) {
    return ObjectNames{planned.files.label.empty() ? kind + " " + std::to_string(number) : planned.files.label, id};
  };
  std::string kind = "Certificate";
  if (planned.imported || !planned.type.empty()) {
    const auto type = planned.imported ? Describe(planned.imported.get()) : Describe(planned.type);
    const auto names = named(type + " key");
    kind = type + " certificate";
    KeyPointer generated;
    if (planned.imported)
      ImportKeyPair(session, planned.imported.get(), names);
    else
      generated = GenerateKeyPair(session, planned.type, names);
    auto* const key = planned.imported ? planned.imported.get() : generated.get();
    if (!planned.certificate) planned.certificate = authority.Issue(key, names.label);
  }
  StoreCertificate(session, planned.certificate.get(), planned.files.category, named(kind));
}

/// The folder in which SoftHSM2 keeps the token below `store`; empty when there is none. It names a folder with the
/// token's UUID, which ends with the serial number.
std::filesystem::path FolderOf(const std::filesystem::path& store, const Token& token) {
  if (!std::filesystem::exists(store)) return {};
  for (const auto& each : std::filesystem::directory_iterator(store)) {
    std::string name = each.path().filename();
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    if (!token.serial.empty() && name.size() > token.serial.size() &&
        name.compare(name.size() - token.serial.size(), std::string::npos, token.serial) == 0)
      return each.path();
  }
  return {};
}

/// Where one card is made: a store of its own, so that nobody sees the half of a card and any number are made at once.
class Workshop {
 public:
  explicit Workshop(const std::filesystem::path& directory) {
    std::string name = directory / "making.XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error(name + ": " + std::strerror(errno));
    m_directory = name;
  }
  ~Workshop() {
    std::error_code ignored;
    std::filesystem::remove_all(m_directory, ignored);
  }
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  const std::filesystem::path& Directory() const { return m_directory; }

  /// Moves the finished tokens to those of `directory`.
  void Deliver(const std::filesystem::path& directory) const {
    for (const auto* store : kTokenStores) {
      if (!std::filesystem::exists(m_directory / store)) continue;
      MakePrivateDirectory(directory / store);
      for (const auto& token : std::filesystem::directory_iterator(m_directory / store)) {
        const auto place = directory / store / token.path().filename();
        std::filesystem::remove_all(place);  // of a card that the state does not know
        std::filesystem::rename(token.path(), place);
      }
    }
  }

 private:
  std::filesystem::path m_directory;
};

/// Throws when `state` has no place for the card that is ordered. Returns the library beneath it.
std::string RequirePlace(const std::filesystem::path& directory, State state, const CardOrder& order) {
  if (state.FindCard(order.card.name))
    throw std::runtime_error("there is a card " + order.card.name + " already; choose another name");
  const auto library = LibraryFor(state, order.over);
  state.cards.push_back(order.card);
  if (library == kSoftoken) SoftokenParameters(directory, state.cards);
  return library;
}

/// Makes the tokens of `card` in `workshop`, with what is planned for them.
void MakeTokens(const Workshop& workshop, const std::string& softCardLibrary, Card& card, std::vector<PlannedKey> plan,
                const DemoAuthority& authority, const std::string& pin) {
  const bool softoken = softCardLibrary == kSoftoken;
  const auto slots = card.tokens.size();
  const ScopedEnvironment store("SOFTHSM2_CONF", PrepareTokenStore(workshop.Directory()));
  // Without this the library would show the readers that there are, and not the free token beneath.
  const ScopedEnvironment forwarding("QEL_SOFTCARD_DIR", std::nullopt);
  if (softoken) MakeSoftokenDatabases(workshop.Directory(), card);
  const Pkcs11Library library(softCardLibrary, softoken ? SoftokenParameters(workshop.Directory(), {card}) : "");
  for (size_t slot = 0; slot < slots; slot++) {
    auto& token = card.tokens[slot];
    const auto tokenSlot = FreeSlot(library);
    token = SetPin(library, tokenSlot, softoken ? "" : InitializeToken(library, tokenSlot, token.label), pin);
    const LoggedInSession session(library, tokenSlot, CKU_USER, pin);
    if (slot < plan.size())
      StoreCertificate(session, authority.Certificate(), kAuthority, {"Demo CA", kAuthorityIdentifier});
    for (size_t key = slot; key < plan.size(); key += slots) WriteKey(session, authority, plan[key], key + 1);
  }
}

}  // namespace

void Personalise(const std::filesystem::path& directory, const std::string& softCardLibrary, CardOrder order,
                 const std::string& pin) {
  auto plan = Plan(order);
  for (size_t slot = 0; slot < order.slots; slot++)
    order.card.tokens.push_back({order.card.name + (slot ? " " + std::to_string(slot + 1) : ""), "", kPinTries});
  const bool softoken = RequirePlace(directory, Load(directory), order) == kSoftoken;
  MakePrivateDirectory(directory);
  const DemoAuthority authority(directory);
  const Workshop workshop(directory);
  MakeTokens(workshop, softoken ? kSoftoken : softCardLibrary, order.card, std::move(plan), authority, pin);
  // Softoken's tokens have the same serial number all.
  if (softoken && order.card.serial.empty()) order.card.serial = RandomDigits();
  Update(directory, [&](State& state) {
    state.library = RequirePlace(directory, state, order);  // others may have made cards meanwhile
    workshop.Deliver(directory);
    if (!softoken) PrepareTokenStore(directory);  // who uses the card may have no right to write that
    state.cards.push_back(order.card);
  });
}

void Delete(const std::filesystem::path& directory, const std::string& card) {
  Update(directory, [&](State& state) {
    const auto* const found = state.FindCard(card);
    if (!found) throw NotFound("no card " + card + "; softcard list shows the cards that there are");
    for (const auto& reader : state.readers)
      if (reader.card == card) throw std::runtime_error("the card is in " + reader.name + "; remove it first");
    for (const auto& token : found->tokens) {
      const auto folder =
          state.library == kSoftoken ? directory / "nss" / token.label : FolderOf(directory / "tokens", token);
      if (!folder.empty()) std::filesystem::remove_all(folder);
    }
    state.cards.erase(state.cards.begin() + (found - state.cards.data()));
  });
}

}  // namespace SoftCard
