// bench_cards [main]: makes the SoftHSM2 tokens that the benchmarks share, those that are not there yet; with "main"
// that one only.

#include <cstdio>
#include <fstream>

#include "bench/BenchCard.h"
#include "softcard/program/Client.h"
#include "softcard/program/DemoAuthority.h"
#include "softcard/program/KeyObjects.h"
#include "softcard/program/Personalise.h"
#include "softcard/state/RealLibrary.h"

namespace {

using namespace SoftCard;

constexpr int kFirstFreeID = 16;

CK_SLOT_ID SlotOfCard(const Pkcs11Library& library) {
  for (const CK_SLOT_ID slot : library.Slots()) {
    CK_TOKEN_INFO info{};
    if (library->C_GetTokenInfo(slot, &info) == CKR_OK && Unpadded(info.label) == BenchCard::kLabel) return slot;
  }
  throw std::runtime_error("the new token is not there");
}

/// The authority's certificate, which comes with every soft card that has keys and is not wanted here.
void RemoveAuthority(const LoggedInSession& session) {
  Attributes wanted;
  wanted.AddNumber(CKA_CLASS, CKO_CERTIFICATE).AddNumber(CKA_CERTIFICATE_CATEGORY, 2);
  CK_OBJECT_HANDLE found = CK_INVALID_HANDLE;
  CK_ULONG count = 0;
  Require("C_FindObjectsInit", session->C_FindObjectsInit(session.Handle(), wanted.Data(), wanted.Count()));
  Require("C_FindObjects", session->C_FindObjects(session.Handle(), &found, 1, &count));
  Require("C_FindObjectsFinal", session->C_FindObjectsFinal(session.Handle()));
  Require("C_DestroyObject", session->C_DestroyObject(session.Handle(), found));
}

/// What comes onto a card besides the keys that are generated on it.
struct Extra {
  int certificates = 0;
  bool withKeys = false;
};

void Add(const LoggedInSession& session, const std::filesystem::path& store, const Extra& extra) {
  const KeyPointer key(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", size_t{2048}));
  const CertificatePointer certificate = DemoAuthority(store).Issue(key.get(), "Benchmark");
  for (int i = 0; i < extra.certificates; ++i) {
    const int number = kFirstFreeID + i;
    const ObjectNames names = {"Benchmark " + std::to_string(number),
                               {static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)}};
    if (extra.withKeys) ImportKeyPair(session, key.get(), names);
    StoreCertificate(session, certificate.get(), 1, names);
  }
}

void WriteBytes(const std::filesystem::path& path, const unsigned char* bytes, size_t length) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(length));
}

/// What is decrypted with the card's RSA key, and whose key its P-256 key agrees with.
void WriteExchange(const LoggedInSession& session, const std::filesystem::path& store) {
  CK_OBJECT_HANDLE found = CK_INVALID_HANDLE;
  CK_ULONG count = 0;
  Attributes wanted;
  wanted.AddNumber(CKA_CLASS, CKO_CERTIFICATE).Add(CKA_ID, {1});
  Require("C_FindObjectsInit", session->C_FindObjectsInit(session.Handle(), wanted.Data(), wanted.Count()));
  Require("C_FindObjects", session->C_FindObjects(session.Handle(), &found, 1, &count));
  Require("C_FindObjectsFinal", session->C_FindObjectsFinal(session.Handle()));
  const auto der = session.Attribute(found, CKA_VALUE);
  const unsigned char* next = der.data();
  const CertificatePointer certificate(d2i_X509(nullptr, &next, static_cast<long>(der.size())));
  const KeyPointer rsa(X509_get_pubkey(certificate.get()));
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(rsa.get(), nullptr),
                                                                            &EVP_PKEY_CTX_free);
  unsigned char secret[32] = {0x5E}, ciphertext[512];
  size_t length = sizeof ciphertext;
  if (EVP_PKEY_encrypt_init(context.get()) != 1 ||
      EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) != 1 ||
      EVP_PKEY_encrypt(context.get(), ciphertext, &length, secret, sizeof secret) != 1)
    FailInOpenssl("encryption");
  WriteBytes(store / BenchCard::kCiphertextFile, ciphertext, length);

  const KeyPointer peer(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
  unsigned char* info = nullptr;
  const int infoLength = i2d_PUBKEY(peer.get(), &info);
  if (infoLength <= 0) FailInOpenssl("the peer's key");
  WriteBytes(store / BenchCard::kPeerKeyFile, info, static_cast<size_t>(infoLength));
  OPENSSL_free(info);
}

void Make(const std::string& name, const std::vector<std::string>& keys, const Extra& extra) {
  const std::filesystem::path store = BenchCard::Store(name);
  const bool hasExchange = name == BenchCard::kMain;
  if (std::filesystem::exists(store / "reader") &&
      (!hasExchange || std::filesystem::exists(store / BenchCard::kPeerKeyFile)))
    return;
  std::filesystem::remove_all(store);
  Card card;
  card.name = BenchCard::kLabel;
  Personalise(store, QEL_SOFTCARD_LIBRARY, {card, 1, keys, {}}, BenchCard::kPin);

  const ScopedEnvironment beneath("SOFTHSM2_CONF", (store / "softhsm2.conf").string());
  const ScopedEnvironment forwarding("QEL_SOFTCARD_DIR", std::nullopt);
  const Pkcs11Library library(QEL_SOFTCARD_LIBRARY);
  const CK_SLOT_ID slot = SlotOfCard(library);
  {
    const LoggedInSession session(library, slot, CKU_USER, BenchCard::kPin);
    if (!keys.empty()) RemoveAuthority(session);
    if (hasExchange) WriteExchange(session, store);
    if (extra.certificates > 0) Add(session, store, extra);
  }
  CK_SLOT_INFO info{};
  Require("C_GetSlotInfo", library->C_GetSlotInfo(slot, &info));
  std::ofstream(store / "reader") << Unpadded(info.slotDescription) << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Make(BenchCard::kMain, {"rsa2048", "rsa3072", "p256", "p384"}, {});
    if (argc > 1 && std::string(argv[1]) == BenchCard::kMain) return 0;
    Make(BenchCard::kSixObjects, {"rsa2048", "p256"}, {});
    Make(BenchCard::kTwoHundredSixObjects, {"rsa2048", "p256"}, {200, false});
    for (const int count : {1, 10, 100}) Make(BenchCard::WithCertificates(count), {}, {count, true});
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_cards: %s\n", error.what());
    return 1;
  }
}
