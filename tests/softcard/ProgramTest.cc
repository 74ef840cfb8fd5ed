#include <openssl/x509.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "softcard/program/DemoAuthority.h"
#include "softcard/program/Pem.h"
#include "tests/softcard/SoftCardFixture.h"
#include "tests/support/ChildProcess.h"

using namespace SoftCard;

namespace {

class SoftCardProgram : public SoftCardFixture {
 protected:
  void SetUp() override {
    std::ofstream(m_pinFile) << kPin << "\n";
    m_key.reset(EVP_RSA_gen(2048));
    WritePrivateFile(m_keyFile, PemOf(m_key.get()));
  }

  ChildResult Run(std::vector<std::string> arguments) {
    const bool init = !arguments.empty() && arguments[0] == "init";
    if (init && !m_over.empty()) arguments.insert(arguments.end(), {"--over", m_over});
    return RunChild(SOFTCARD_PROGRAM, arguments);
  }

  int Status(const std::vector<std::string>& arguments) { return Run(arguments).exitStatus.value_or(-1); }

  /// Labels of the objects of a class, and for certificates of a category, in the order in which they are found.
  std::vector<std::string> Labels(CK_SLOT_ID slot, CK_OBJECT_CLASS type, CK_ULONG category = 0) {
    const LoggedInSession session(Library(), slot, CKU_USER, kPin);
    Attributes wanted;
    wanted.AddNumber(CKA_CLASS, type);
    if (category) wanted.AddNumber(CKA_CERTIFICATE_CATEGORY, category);
    CK_OBJECT_HANDLE found[20];
    CK_ULONG count = 0;
    Require("C_FindObjectsInit", session->C_FindObjectsInit(session.Handle(), wanted.Data(), wanted.Count()));
    Require("C_FindObjects", session->C_FindObjects(session.Handle(), found, 20, &count));
    Require("C_FindObjectsFinal", session->C_FindObjectsFinal(session.Handle()));
    std::vector<std::string> labels;
    for (CK_ULONG i = 0; i < count; i++) {
      const auto label = session.Attribute(found[i], CKA_LABEL);
      labels.emplace_back(label.begin(), label.end());
    }
    std::sort(labels.begin(), labels.end());
    return labels;
  }

  const std::string m_pinFile = m_temporary.Path() / "pin.txt";
  const std::string m_keyFile = m_temporary.Path() / "key.pem";
  const std::string m_certificateFile = m_temporary.Path() / "certificate.pem";
  KeyPointer m_key;
};

using Words = std::vector<std::string>;

TEST_F(SoftCardProgram, ACardHasFourKeysTheirCertificatesAndOneAuthorityByDefault) {
  ASSERT_EQ(Status({"init", "demo", "--pin-file", m_pinFile}), 0);
  ASSERT_EQ(Status({"insert", "demo"}), 0);
  const Words keys{"EC P-256 key 3", "EC P-384 key 4", "RSA-2048 key 1", "RSA-3072 key 2"};
  EXPECT_EQ(Labels(0, CKO_PRIVATE_KEY), keys);
  EXPECT_EQ(Labels(0, CKO_PUBLIC_KEY), keys);
  EXPECT_EQ(Labels(0, CKO_CERTIFICATE, 1), (Words{"EC P-256 certificate 3", "EC P-384 certificate 4",
                                                  "RSA-2048 certificate 1", "RSA-3072 certificate 2"}));
  EXPECT_EQ(Labels(0, CKO_CERTIFICATE, 2), Words{"Demo CA"});
}

TEST_F(SoftCardProgram, PublicKeysSayWhatTheirPrivateKeysMayDo) {
  ASSERT_EQ(Status({"init", "demo", "--pin-file", m_pinFile, "--key", "rsa2048,p256"}), 0);
  ASSERT_EQ(Status({"insert", "demo"}), 0);
  const LoggedInSession session(Library(), 0, CKU_USER, kPin);
  CK_OBJECT_HANDLE found[4];
  CK_ULONG count = 0;
  Attributes wanted;
  wanted.AddNumber(CKA_CLASS, CKO_PUBLIC_KEY);
  Require("C_FindObjectsInit", session->C_FindObjectsInit(session.Handle(), wanted.Data(), wanted.Count()));
  Require("C_FindObjects", session->C_FindObjects(session.Handle(), found, 4, &count));
  ASSERT_EQ(count, 2U);
  for (CK_ULONG i = 0; i < count; i++) {
    EXPECT_EQ(session.Attribute(found[i], CKA_VERIFY), Bytes{CK_TRUE});
    EXPECT_EQ(session.Attribute(found[i], CKA_ENCRYPT), Bytes{CK_TRUE});
  }
}

TEST_F(SoftCardProgram, AnImportedKeySignsForItsImportedCertificate) {
  const DemoAuthority authority(m_directory);
  WritePrivateFile(m_certificateFile, PemOf(authority.Issue(m_key.get(), "Imported").get()));
  ASSERT_EQ(Status({"init", "mine", "--pin-file", m_pinFile, "--import", m_keyFile + "," + m_certificateFile}), 0);
  ASSERT_EQ(Status({"insert", "mine"}), 0);
  const LoggedInSession session(Library(), 0, CKU_USER, kPin);
  const auto key = Find(session.Handle(), CKO_PRIVATE_KEY);
  CK_MECHANISM mechanism{CKM_SHA256_RSA_PKCS, nullptr, 0};
  unsigned char message[] = "message";
  unsigned char signature[256];
  CK_ULONG length = sizeof signature;
  ASSERT_CKR(CKR_OK, session->C_SignInit(session.Handle(), &mechanism, key));
  ASSERT_CKR(CKR_OK, session->C_Sign(session.Handle(), message, sizeof message, signature, &length));
  const std::unique_ptr<EVP_MD_CTX, OpensslFree<EVP_MD_CTX_free>> context(EVP_MD_CTX_new());
  const auto certificate = ReadCertificate(m_certificateFile);
  ASSERT_EQ(EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, X509_get0_pubkey(certificate.get())),
            1);
  EXPECT_EQ(EVP_DigestVerify(context.get(), signature, length, message, sizeof message), 1);
}

TEST_F(SoftCardProgram, AnImportedEcKeyGetsACertificateFromTheDemoAuthority) {
  for (const char* curve : {"P-256", "P-384", "P-521"}) {
    const KeyPointer key(EVP_EC_gen(curve));
    WritePrivateFile(m_keyFile, PemOf(key.get()));
    ASSERT_EQ(Status({"init", curve, "--pin-file", m_pinFile, "--import", m_keyFile}), 0) << curve;
    ASSERT_EQ(Status({"insert", curve}), 0);
    const LoggedInSession session(Library(), 0, CKU_USER, kPin);
    CK_MECHANISM mechanism{CKM_ECDSA, nullptr, 0};
    unsigned char digest[32] = {1};
    unsigned char signature[132];
    CK_ULONG length = sizeof signature;
    const auto privateKey = Find(session.Handle(), CKO_PRIVATE_KEY);
    const auto publicKey = Find(session.Handle(), CKO_PUBLIC_KEY);
    ASSERT_CKR(CKR_OK, session->C_SignInit(session.Handle(), &mechanism, privateKey));
    ASSERT_CKR(CKR_OK, session->C_Sign(session.Handle(), digest, sizeof digest, signature, &length));
    ASSERT_CKR(CKR_OK, session->C_VerifyInit(session.Handle(), &mechanism, publicKey));
    EXPECT_CKR(CKR_OK, session->C_Verify(session.Handle(), digest, sizeof digest, signature, length)) << curve;
    ASSERT_EQ(Status({"remove"}), 0);
  }
}

TEST_F(SoftCardProgram, FilesThatCannotBeImportedAreNamedAndMakeNoCard) {
  const KeyPointer other(EVP_EC_gen("P-256"));
  const DemoAuthority authority(m_directory);
  WritePrivateFile(m_certificateFile, PemOf(authority.Issue(other.get(), "Of another key").get()));
  const std::string noKey = m_temporary.Path() / "no-key.pem", ed25519 = m_temporary.Path() / "ed25519.pem";
  WritePrivateFile(noKey, "nothing\n");
  WritePrivateFile(ed25519, PemOf(KeyPointer(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519")).get()));
  const struct {
    std::string files;
    std::string said;
  } rows[] = {{m_keyFile + "," + m_certificateFile, "is not the certificate of"},
              {noKey, "no private key in PEM form"},
              {ed25519, ed25519 + ": a soft card takes RSA and EC keys only"},
              {"/nowhere/key.pem", "/nowhere/key.pem: cannot be read"}};
  for (const auto& row : rows) {
    const auto result = Run({"init", "mine", "--pin-file", m_pinFile, "--import", row.files});
    EXPECT_EQ(result.exitStatus, 1) << row.files;
    EXPECT_NE(result.errors.find(row.said), std::string::npos) << result.errors;
  }
  EXPECT_EQ(Load(m_directory).FindCard("mine"), nullptr);
}

TEST_F(SoftCardProgram, ACertificateComesAloneAndPartsHaveTheNamesThatAreChosen) {
  const DemoAuthority authority(m_directory);
  WritePrivateFile(m_certificateFile, PemOf(authority.Issue(m_key.get(), "Imported").get()));
  ASSERT_EQ(Status({"init", "mine", "--pin-file", m_pinFile, "--import",
                    "certificate=" + m_certificateFile + ",label=Old,id=0a0b,category=authority", "--import",
                    "label=Mine,key=" + m_keyFile}),
            0);
  ASSERT_EQ(Status({"insert", "mine"}), 0);
  EXPECT_EQ(Labels(0, CKO_CERTIFICATE, 2), (Words{"Demo CA", "Old"}));
  EXPECT_EQ(Labels(0, CKO_CERTIFICATE, 1), Words{"Mine"});
  EXPECT_EQ(Labels(0, CKO_PRIVATE_KEY), Words{"Mine"});
}

TEST_F(SoftCardProgram, IdentifiersThatWouldBeSharedAreRefused) {
  const auto result = Run({"init", "mine", "--pin-file", m_pinFile, "--import", "id=0a,key=" + m_keyFile, "--import",
                           "id=0a,key=" + m_keyFile});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "softcard: id=0a: two of the card's objects cannot share it\n");
  EXPECT_EQ(Status({"init", "mine", "--pin-file", m_pinFile, "--import", "color=red"}), 2);
  EXPECT_EQ(Status({"init", "mine", "--pin-file", m_pinFile, "--import", "label=Nothing"}), 2);
}

TEST_F(SoftCardProgram, AnEmptyCardHasNothingOnIt) {
  ASSERT_EQ(Status({"init", "bare", "--pin-file", m_pinFile, "--empty"}), 0);
  ASSERT_EQ(Status({"insert", "bare"}), 0);
  EXPECT_EQ(Labels(0, CKO_CERTIFICATE), Words{});
  EXPECT_EQ(Labels(0, CKO_PRIVATE_KEY), Words{});
  EXPECT_EQ(Status({"init", "other", "--pin-file", m_pinFile, "--empty", "--key", "p256"}), 2);
}

TEST_F(SoftCardProgram, ADeletedCardAndAnUnpluggedReaderAreGoneAndLeaveNothing) {
  const auto tokens = [&] {
    const auto store = m_directory / (m_over == "nss" ? "nss" : "tokens");
    return std::distance(std::filesystem::directory_iterator(store), std::filesystem::directory_iterator());
  };
  ASSERT_EQ(Status({"init", "one", "--pin-file", m_pinFile, "--key", "p256"}), 0);
  ASSERT_EQ(Status({"init", "two", "--pin-file", m_pinFile, "--key", "p256", "--slots", "2"}), 0);
  ASSERT_EQ(Status({"insert", "one"}), 0);
  EXPECT_EQ(tokens(), 3);
  EXPECT_EQ(Status({"delete", "one"}), 1) << "it is in a reader";
  EXPECT_EQ(Status({"unplug"}), 1) << "it holds a card";
  EXPECT_EQ(Status({"delete", "two"}), 0);
  EXPECT_EQ(tokens(), 1);
  EXPECT_EQ(Status({"delete", "two"}), 3);
  ASSERT_EQ(Status({"remove"}), 0);
  EXPECT_EQ(Status({"delete", "one"}), 0);
  EXPECT_EQ(tokens(), 0);
  EXPECT_EQ(Status({"unplug"}), 0);
  EXPECT_EQ(Status({"unplug"}), 3);
  EXPECT_TRUE(Load(m_directory).readers.empty());
  EXPECT_TRUE(Load(m_directory).cards.empty());
}

TEST_F(SoftCardProgram, MoreCertificatesThanAByteCountsHaveIdentifiersOfTheirOwn) {
  std::vector<std::string> arguments = {"init", "many", "--pin-file", m_pinFile};
  WritePrivateFile(m_certificateFile, PemOf(DemoAuthority(m_directory).Certificate()));
  constexpr int kMany = 260;
  for (int i = 0; i < kMany; i++) arguments.insert(arguments.end(), {"--import", "certificate=" + m_certificateFile});
  ASSERT_EQ(Status(arguments), 0);
  ASSERT_EQ(Status({"insert", "many"}), 0);
  const LoggedInSession session(Library(), 0, CKU_USER, kPin);
  std::set<Bytes> identifiers;
  Attributes wanted;
  wanted.AddNumber(CKA_CLASS, CKO_CERTIFICATE);
  std::vector<CK_OBJECT_HANDLE> found(1000);
  CK_ULONG count = 0;
  Require("C_FindObjectsInit", session->C_FindObjectsInit(session.Handle(), wanted.Data(), wanted.Count()));
  Require("C_FindObjects", session->C_FindObjects(session.Handle(), found.data(), found.size(), &count));
  Require("C_FindObjectsFinal", session->C_FindObjectsFinal(session.Handle()));
  for (CK_ULONG i = 0; i < count; i++) identifiers.insert(session.Attribute(found[i], CKA_ID));
  EXPECT_EQ(count, kMany + 1U);
  EXPECT_EQ(identifiers.size(), count);
}

TEST_F(SoftCardProgram, CardsGoInAndOutOfReaders) {
  ASSERT_EQ(Status({"init", "one", "--pin-file", m_pinFile, "--key", "p256", "--serial", "4711"}), 0);
  EXPECT_EQ(Status({"insert", "one", "--reader", "Desk"}), 0);
  EXPECT_EQ(Run({"list"}).output,
            "reader \"Desk\": card one\ncard one: serial number 4711, slot type 0x80000001\n"
            "  token \"one\": 3 PIN tries left\n" +
                std::string(m_over == "nss" ? "library beneath: libsoftokn3.so\n" : ""));
  EXPECT_EQ(Status({"insert", "one", "--reader", "Other"}), 1) << "a card is in one reader at a time";
  EXPECT_EQ(Status({"remove", "--reader", "Desk"}), 0);
  EXPECT_EQ(Status({"remove", "--reader", "Desk"}), 3) << "nothing to take out";
  EXPECT_EQ(Status({"insert", "two"}), 3) << "no such card";
  EXPECT_EQ(Status({"unlock", "two"}), 3);
  EXPECT_EQ(Status({"init", "one", "--pin-file", m_pinFile}), 1) << "the name is taken";
}

TEST_F(SoftCardProgram, WrongUsageEndsWithTwoAndSaysWhereToLook) {
  const struct {
    std::vector<std::string> arguments;
    const char* said;
  } rows[] = {
      {{}, "which command? 'softcard --help' shows them"},
      {{"fly"}, "there is no command 'fly'; 'softcard --help' shows them"},
      {{"--fly"}, "there is no option '--fly'; 'softcard --help' shows them"},
      {{"pinpad"}, "which command? 'softcard pinpad --help' shows them"},
      {{"pinpad", "fly"}, "there is no command 'fly'; 'softcard pinpad --help' shows them"},
      {{"insert"}, "CARD is required; 'softcard insert --help' shows how to use it"},
      {{"init", "a/b", "--pin-file", m_pinFile},
       "CARD: a card's name is 1 to 28 letters, digits, dots, dashes and underscores; 'softcard init --help' shows how "
       "to use it"},
      {{"init", "demo", "--key", "dsa"},
       "--key: dsa not in {rsa2048,rsa3072,rsa4096,p256,p384,p521}; 'softcard init --help' shows how to use it"},
  };
  for (const auto& row : rows) {
    const auto result = Run(row.arguments);
    EXPECT_EQ(result.exitStatus, 2) << row.said;
    EXPECT_EQ(result.errors, std::string("softcard: ") + row.said + "\n");
  }
  EXPECT_EQ(Status({"--help"}), 0);
}

TEST_F(SoftCardProgram, AMissingOrUnfitPinIsAClearError) {
  EXPECT_NE(Run({"init", "demo", "--pin-file", "/nowhere/pin"})
                .errors.find("the PIN file /nowhere/pin cannot be read: No such file"),
            std::string::npos);
  std::ofstream(m_pinFile) << "123\n";
  const auto result = Run({"init", "demo", "--pin-file", m_pinFile});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "softcard: the PIN is too short or too long for a card\n");
}

TEST_F(SoftCardProgram, ThePinPadProgramAnswersAWaitingLogin) {
  ASSERT_EQ(Status({"init", "pad", "--pin-file", m_pinFile, "--key", "p256", "--pin-pad", "--slot-type", "0x80000002"}),
            0);
  ASSERT_EQ(Status({"insert", "pad"}), 0);
  EXPECT_EQ(Load(m_directory).cards[0].slotType, 0x80000002UL);
  EXPECT_EQ(Status({"pinpad", "enter", "--pin-file", m_pinFile}), 3) << "nobody waits";
  const auto answer = [&](const std::string& key) {
    const auto command = std::string(SOFTCARD_PROGRAM) + " pinpad " + key + " --wait 10 &";
    EXPECT_EQ(std::system(command.c_str()), 0);
  };
  const auto session = Open();
  answer("cancel");
  EXPECT_CKR(CKR_FUNCTION_CANCELED, Library()->C_Login(session, CKU_USER, nullptr, 0));
  answer("enter --pin-file " + m_pinFile);
  EXPECT_CKR(CKR_OK, Library()->C_Login(session, CKU_USER, nullptr, 0));
}

}  // namespace
