#include <fstream>
#include <iterator>
#include <regex>

#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

std::string Contents(const std::filesystem::path& file) {
  std::ifstream in(file);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

/// The trace without times of day, process numbers and durations.
std::string WithoutTimes(const std::string& trace) {
  const auto calls = std::regex_replace(trace, std::regex(R"(\d\d:\d\d:\d\d\.\d{6} \d+ )"), "");
  return std::regex_replace(calls, std::regex(R"(, \d+\.\d{3} ms)"), "");
}

class SoftCardTrace : public SoftCardFixture {
 protected:
  void SetUp() override { MakeAndInsert({"demo"}); }
  const std::string m_file = m_temporary.Path() / "trace.txt";
};

TEST_F(SoftCardTrace, ALineTellsCallArgumentsResultAndTime) {
  const auto session = Open();
  Update(m_directory, [&](State& state) { state.trace = m_file; });
  EXPECT_CKR(CKR_PIN_INCORRECT, Login(session, "wrong"));
  EXPECT_CKR(CKR_OK, Login(session, kPin));
  const auto key = Find(session, CKO_PRIVATE_KEY);
  CK_MECHANISM mechanism{CKM_ECDSA, nullptr, 0};
  unsigned char digest[32] = {};
  CK_ULONG length = 0;
  Library()->C_SignInit(session, &mechanism, key);
  Library()->C_Sign(session, digest, sizeof digest, nullptr, &length);
  CK_ATTRIBUTE attributes[] = {{CKA_ID, nullptr, 0}, {CKA_VALUE, nullptr, 0}};
  Library()->C_GetAttributeValue(session, key, attributes, 2);
  Update(m_directory, [&](State& state) { state.trace.clear(); });
  Library()->C_Logout(session);

  const auto handle = "hSession=" + Hex(session);
  const auto expected =
      "C_Login(" + handle + ", userType=0x1, pPin=given, ulPinLen=5) => CKR_PIN_INCORRECT 0x000000A0\n" +  //
      "C_Login(" + handle + ", userType=0x1, pPin=given, ulPinLen=15) => CKR_OK 0x00000000\n" +            //
      "C_FindObjectsInit(" + handle + ", template=[CKA_CLASS(8)], ulCount=1) => CKR_OK 0x00000000\n" +
      "C_FindObjects(" + handle + ", pObjects=given, ulMaxCount=1, pulCount=1) => CKR_OK 0x00000000\n" +
      "C_FindObjectsFinal(" + handle + ") => CKR_OK 0x00000000\n" +  //
      "C_SignInit(" + handle + ", mechanism=CKM_ECDSA(0), hKey=" + Hex(key) + ") => CKR_OK 0x00000000\n" + "C_Sign(" +
      handle + ", pData=given, ulDataLen=32, pSignature=null, pulSignatureLen=64) => CKR_OK 0x00000000\n" +
      "C_GetAttributeValue(" + handle + ", hObject=" + Hex(key) +
      ", template=[CKA_ID(1) CKA_VALUE(unavailable)], ulCount=2) => CKR_ATTRIBUTE_SENSITIVE 0x00000011\n";
  const auto trace = Contents(m_file);
  EXPECT_EQ(WithoutTimes(trace), expected);
  EXPECT_TRUE(std::regex_search(trace, std::regex(R"(^\d\d:\d\d:\d\d\.\d{6} \d+ C_Login\(.*, \d+\.\d{3} ms\n)")));
}

TEST_F(SoftCardTrace, TheEnvironmentNamesAFileToo) {
  const ScopedEnvironment trace("QEL_SOFTCARD_TRACE", m_file);
  Library();
  Unload();
  EXPECT_EQ(WithoutTimes(Contents(m_file)),
            "C_GetFunctionList(pList=given) => CKR_OK 0x00000000\nC_Initialize(pInitArgs=null) => CKR_OK 0x00000000\n"
            "C_Finalize(pReserved=null) => CKR_OK 0x00000000\n");
  EXPECT_EQ(std::filesystem::status(m_file).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(SoftCardTrace, NeitherPinNorDataIsEverWritten) {
  const ScopedEnvironment trace("QEL_SOFTCARD_TRACE", m_file);
  const std::string canary = "canary-data-0123";
  const auto session = Open();
  ASSERT_CKR(CKR_OK, Login(session, kPin));
  Attributes secret;
  secret.AddNumber(CKA_CLASS, CKO_SECRET_KEY)
      .AddNumber(CKA_KEY_TYPE, CKK_GENERIC_SECRET)
      .AddText(CKA_LABEL, canary)
      .AddText(CKA_VALUE, canary);
  CK_OBJECT_HANDLE object = 0;
  ASSERT_CKR(CKR_OK, Library()->C_CreateObject(session, secret.Data(), secret.Count(), &object));
  CK_MECHANISM digest{CKM_SHA256, nullptr, 0};
  unsigned char out[32];
  CK_ULONG length = sizeof out;
  auto text = canary;
  ASSERT_CKR(CKR_OK, Library()->C_DigestInit(session, &digest));
  ASSERT_CKR(CKR_OK,
             Library()->C_Digest(session, reinterpret_cast<unsigned char*>(text.data()), text.size(), out, &length));
  const auto lines = Contents(m_file);
  EXPECT_NE(lines.find("C_CreateObject("), std::string::npos);
  EXPECT_NE(lines.find("C_Digest("), std::string::npos);
  EXPECT_EQ(lines.find("canary"), std::string::npos) << lines;
}

TEST_F(SoftCardTrace, ThePinIsInNoFileOfTheStateFolderEither) {
  ASSERT_CKR(CKR_OK, Login(Open(), kPin));
  for (const auto& entry : std::filesystem::recursive_directory_iterator(m_directory))
    if (entry.is_regular_file()) {
      EXPECT_EQ(Contents(entry.path()).find(kPin), std::string::npos) << entry.path();
    }
}

}  // namespace
