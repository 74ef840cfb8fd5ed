#ifndef TESTS_SOFTCARD_SOFTCARDFIXTURE_H
#define TESTS_SOFTCARD_SOFTCARDFIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "softcard/program/Client.h"
#include "softcard/program/Commands.h"
#include "softcard/program/Personalise.h"
#include "softcard/state/Names.h"
#include "softcard/state/RealLibrary.h"
#include "tests/support/TemporaryDirectory.h"

/// Compares return values by name.
#define EXPECT_CKR(expected, actual) EXPECT_EQ(SoftCard::ResultName(expected), SoftCard::ResultName(actual))
#define ASSERT_CKR(expected, actual) ASSERT_EQ(SoftCard::ResultName(expected), SoftCard::ResultName(actual))

inline constexpr char kPin[] = "canary-4711-pin";
inline constexpr char kReaderName[] = "Test Reader 00";

/// A state folder of the test's own, and the soft card's library once it is asked for.
class SoftCardFixture : public ::testing::Test {
 protected:
  /// Makes a card with the given keys; the PIN is kPin.
  void Make(SoftCard::Card card, std::vector<std::string> keys = {"p256"}, size_t slots = 1) {
    SoftCard::Personalise(m_directory, SOFTCARD_LIBRARY, {std::move(card), slots, std::move(keys), {}, m_over}, kPin);
  }
  void MakeAndInsert(SoftCard::Card card, std::vector<std::string> keys = {"p256"}, size_t slots = 1) {
    const auto name = card.name;
    Make(std::move(card), std::move(keys), slots);
    SoftCard::Insert(m_directory, name, kReaderName);
  }

  /// The library, loaded and initialized on first use.
  SoftCard::Pkcs11Library& Library() {
    if (!m_library) m_library.emplace(SOFTCARD_LIBRARY);
    return *m_library;
  }
  void Unload() { m_library.reset(); }

  CK_SLOT_ID FirstSlot() { return Library().Slots().at(0); }

  CK_SESSION_HANDLE Open() {
    CK_SESSION_HANDLE session = CK_INVALID_HANDLE;
    SoftCard::Require("C_OpenSession", Library()->C_OpenSession(FirstSlot(), CKF_SERIAL_SESSION | CKF_RW_SESSION,
                                                                nullptr, nullptr, &session));
    return session;
  }

  /// A session of a card with one key of that type in the reader, with the user logged in.
  CK_SESSION_HANDLE OpenCardWith(const std::string& key) {
    MakeAndInsert({"demo"}, {key});
    const auto session = Open();
    EXPECT_CKR(CKR_OK, Login(session, kPin));
    return session;
  }

  CK_RV Login(CK_SESSION_HANDLE session, std::string pin) {
    return Library()->C_Login(session, CKU_USER, reinterpret_cast<CK_UTF8CHAR*>(pin.data()), pin.size());
  }

  CK_TOKEN_INFO TokenInfo() {
    CK_TOKEN_INFO info{};
    SoftCard::Require("C_GetTokenInfo", Library()->C_GetTokenInfo(FirstSlot(), &info));
    return info;
  }

  /// The first object of that class; CK_INVALID_HANDLE when there is none.
  CK_OBJECT_HANDLE Find(CK_SESSION_HANDLE session, CK_OBJECT_CLASS type) {
    SoftCard::Attributes wanted;
    wanted.AddNumber(CKA_CLASS, type);
    CK_OBJECT_HANDLE found = CK_INVALID_HANDLE;
    CK_ULONG count = 0;
    SoftCard::Require("C_FindObjectsInit", Library()->C_FindObjectsInit(session, wanted.Data(), wanted.Count()));
    SoftCard::Require("C_FindObjects", Library()->C_FindObjects(session, &found, 1, &count));
    SoftCard::Require("C_FindObjectsFinal", Library()->C_FindObjectsFinal(session));
    return found;
  }

  static std::string Over() {
    const char* const library = std::getenv("QEL_TEST_OVER");
    return library ? library : "";
  }

  std::string LabelOfKey(const SoftCard::LoggedInSession& session) {
    const auto label = session.Attribute(Find(session.Handle(), CKO_PRIVATE_KEY), CKA_LABEL);
    return {label.begin(), label.end()};
  }

  TemporaryDirectory m_temporary;
  std::string m_over = Over();  ///< The library that cards are made over, as `softcard init --over` has it.
  const std::filesystem::path m_directory = m_temporary.Path() / "state";

 private:
  const SoftCard::ScopedEnvironment m_environment{"QEL_SOFTCARD_DIR", m_directory.string()};
  std::optional<SoftCard::Pkcs11Library> m_library;
};

#endif
