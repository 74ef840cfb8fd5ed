#include "host/commands/CardSurvey.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <openssl/x509.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include "host/base/Words.h"
#include "host/extension/ChildProcess.h"
#include "host/extension/ExtensionEnvironment.h"
#include "host/terminal/TerminalText.h"
#include "platform/wire/Hex.h"
#include "softcard/state/Names.h"
#include "softcard/state/Pkcs11.h"

namespace Host {
namespace {

constexpr unsigned long kTokenUser = 1;
// What the extension takes at most, and more slots than there are readers.
constexpr size_t kMostObjects = 1000000;
constexpr size_t kLargestAnswer = 64 * 1024 * 1024;
constexpr CK_ULONG kMostSlots = 10000;
constexpr size_t kShownColumns = 60;

/// Fields of PKCS#11 are padded with blanks.
template <size_t Size>
std::string Unpadded(const CK_UTF8CHAR (&field)[Size]) {
  std::string text(reinterpret_cast<const char*>(field), Size);
  text.erase(text.find_last_not_of(std::string(" \0", 2)) + 1);
  return ForTerminal(text, kShownColumns);
}

std::string VersionText(const CK_VERSION& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor);
}

bool IsUtf8(const std::string& text) {
  size_t following = 0;
  for (const char byte : text) {
    const auto value = static_cast<unsigned char>(byte);
    const bool continues = (value & 0xC0) == 0x80;
    if (continues != (following > 0)) return false;
    if (continues) {
      --following;
    } else if (value >= 0x80) {
      following = value >= 0xF0 && value < 0xF5 ? 3 : value >= 0xE0 && value < 0xF0 ? 2 : value >= 0xC2 ? 1 : 0;
      if (following == 0 || value >= 0xF5) return false;
    }
  }
  return following == 0;
}

bool IsCertificate(const std::string& der) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
  const std::unique_ptr<X509, void (*)(X509*)> certificate(d2i_X509(nullptr, &bytes, static_cast<long>(der.size())),
                                                           X509_free);
  return certificate != nullptr;
}

void Require(const char* call, CK_RV result) {
  if (result != CKR_OK) throw std::runtime_error(std::string(call) + ": " + SoftCard::ResultName(result));
}

/// The objects of one session.
class Objects {
 public:
  Objects(CK_FUNCTION_LIST* functions, CK_SLOT_ID slot) : m_functions(functions) {
    Require("C_OpenSession", functions->C_OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &m_session));
  }
  ~Objects() { m_functions->C_CloseSession(m_session); }
  Objects(const Objects&) = delete;
  Objects& operator=(const Objects&) = delete;

  std::vector<CK_OBJECT_HANDLE> OfClass(CK_OBJECT_CLASS objectClass) const {
    CK_ATTRIBUTE wanted = {CKA_CLASS, &objectClass, sizeof objectClass};
    Require("C_FindObjectsInit", m_functions->C_FindObjectsInit(m_session, &wanted, 1));
    std::vector<CK_OBJECT_HANDLE> found;
    CK_OBJECT_HANDLE objects[256];
    CK_ULONG count = 0;
    while (m_functions->C_FindObjects(m_session, objects, std::size(objects), &count) == CKR_OK && count > 0) {
      if (count > std::size(objects) || found.size() + count > kMostObjects)
        throw std::runtime_error("C_FindObjects: it has no end");
      found.insert(found.end(), objects, objects + count);
    }
    m_functions->C_FindObjectsFinal(m_session);
    return found;
  }

  /// The attribute's bytes; none when the object does not tell it.
  std::string Bytes(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
    CK_ATTRIBUTE wanted = {type, nullptr, 0};
    if (m_functions->C_GetAttributeValue(m_session, object, &wanted, 1) != CKR_OK ||
        wanted.ulValueLen == CK_UNAVAILABLE_INFORMATION || wanted.ulValueLen > kLargestAnswer)
      return {};
    std::string bytes(wanted.ulValueLen, '\0');
    wanted.pValue = bytes.data();
    return m_functions->C_GetAttributeValue(m_session, object, &wanted, 1) == CKR_OK ? bytes : std::string();
  }

  std::string Identifier(CK_OBJECT_HANDLE object) const {
    const std::string bytes = Bytes(object, CKA_ID);
    return Wire::ToHex(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }

 private:
  CK_FUNCTION_LIST* m_functions;
  CK_SESSION_HANDLE m_session = CK_INVALID_HANDLE;
};

std::string ObjectText(const char* kind, const std::string& identifier, const std::string& label,
                       const std::string& fate) {
  return std::string("    ") + kind + " " + identifier + " \"" + ForTerminal(label, kShownColumns - 16) + "\"\n      " +
         fate + "\n";
}

std::string ObjectsText(const Objects& objects) {
  std::set<std::string> publicKeys, certified;
  const auto keys = objects.OfClass(CKO_PUBLIC_KEY);
  for (const CK_OBJECT_HANDLE key : keys) publicKeys.insert(objects.Identifier(key));
  std::string text;
  for (const CK_OBJECT_HANDLE object : objects.OfClass(CKO_CERTIFICATE)) {
    SurveyedCertificate certificate;
    certificate.identifier = objects.Identifier(object);
    certificate.label = objects.Bytes(object, CKA_LABEL);
    certificate.value = objects.Bytes(object, CKA_VALUE);
    const std::string category = objects.Bytes(object, CKA_CERTIFICATE_CATEGORY);
    if (category.size() == sizeof certificate.category)
      std::memcpy(&certificate.category, category.data(), category.size());
    certificate.hasPublicKey = publicKeys.count(certificate.identifier) != 0;
    if (certificate.category == kTokenUser) certified.insert(certificate.identifier);
    text += ObjectText("certificate", certificate.identifier, certificate.label, FateOf(certificate));
  }
  for (const CK_OBJECT_HANDLE key : keys)
    if (const std::string identifier = objects.Identifier(key); certified.count(identifier) == 0)
      text += ObjectText("public key", identifier, objects.Bytes(key, CKA_LABEL),
                         "skipped: no user certificate has its identifier");
  return text.empty() ? "    no certificates and no public keys\n" : text;
}

std::string SlotText(CK_FUNCTION_LIST* functions, CK_SLOT_ID slot) {
  CK_SLOT_INFO info{};
  Require("C_GetSlotInfo", functions->C_GetSlotInfo(slot, &info));
  std::string text = "  slot " + std::to_string(slot) + ": " + Unpadded(info.slotDescription) + "\n";
  if ((info.flags & CKF_TOKEN_PRESENT) == 0) return text + "    no card\n";
  CK_TOKEN_INFO token{};
  Require("C_GetTokenInfo", functions->C_GetTokenInfo(slot, &token));
  text += "    card: " + Unpadded(token.label) + ", " + Unpadded(token.manufacturerID) + ", " + Unpadded(token.model) +
          ", firmware " + VersionText(token.firmwareVersion) + "\n";
  if (token.flags & CKF_USER_PIN_LOCKED) text += "    the PIN is locked\n";
  if (token.flags & CKF_USER_PIN_FINAL_TRY) text += "    one try is left for the PIN\n";
  return text + ObjectsText(Objects(functions, slot));
}

CK_FUNCTION_LIST* FunctionsOf(const std::string& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) throw std::runtime_error(dlerror());
  const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
  if (!getFunctionList) throw std::runtime_error("it has no C_GetFunctionList");
  CK_FUNCTION_LIST* functions = nullptr;
  Require("C_GetFunctionList", getFunctionList(&functions));
  return functions;
}

void WriteSurvey(const std::string& path, FILE* output) {
  try {
    CK_FUNCTION_LIST* const functions = FunctionsOf(path);
    Require("C_Initialize", functions->C_Initialize(nullptr));
    CK_INFO info{};
    Require("C_GetInfo", functions->C_GetInfo(&info));
    std::fprintf(output, "  library: %s, %s, version %s, PKCS#11 %s\n", Unpadded(info.manufacturerID).c_str(),
                 Unpadded(info.libraryDescription).c_str(), VersionText(info.libraryVersion).c_str(),
                 VersionText(info.cryptokiVersion).c_str());
    CK_ULONG count = 0;
    Require("C_GetSlotList", functions->C_GetSlotList(CK_FALSE, nullptr, &count));
    if (count > kMostSlots) throw std::runtime_error("C_GetSlotList: too many slots");
    std::vector<CK_SLOT_ID> slots(count);
    Require("C_GetSlotList", functions->C_GetSlotList(CK_FALSE, slots.data(), &count));
    slots.resize(std::min<size_t>(count, slots.size()));
    for (const CK_SLOT_ID slot : slots) {
      std::fputs(SlotText(functions, slot).c_str(), output);
      std::fflush(output);
    }
  } catch (const std::exception& problem) {
    std::fprintf(output, "  the library failed: %s\n", problem.what());
  }
  std::fflush(output);
}

/// What the new process does: it is the extension's in all but its program.
int Survey(const std::string& path, const Sandbox* sandbox, std::vector<std::string>& variables, int output) {
  std::vector<char*> environment;
  for (std::string& variable : variables) environment.push_back(variable.data());
  environment.push_back(nullptr);
  environ = environment.data();
  const int nothing = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nothing, standard);
  if (sandbox && !sandbox->Enter()) return 1;
  const int kept = dup2(output, STDERR_FILENO + 1);
  close_range(static_cast<unsigned>(kept) + 1, ~0U, 0);
  FILE* const file = fdopen(kept, "w");
  WriteSurvey(path, file);
  std::fclose(file);
  return 0;
}

/// What comes from `descriptor` until its end, as long as it is not endless. Returns false when it was not over in
/// time.
bool ReadUntilEnd(int descriptor, std::chrono::milliseconds patience, std::string* text) {
  using std::chrono::steady_clock;
  constexpr size_t kMost = 1024 * 1024;
  const auto deadline = steady_clock::now() + patience;
  while (text->size() < kMost) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
    pollfd waited = {descriptor, POLLIN, 0};
    const int ready = left > 0 ? poll(&waited, 1, static_cast<int>(left)) : 0;
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return false;
    char block[4096];
    const ssize_t got = read(descriptor, block, sizeof block);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    text->append(block, static_cast<size_t>(got));
  }
  return true;
}

}  // namespace

std::string FateOf(const SurveyedCertificate& certificate) {
  if (certificate.category != kTokenUser)
    return "skipped: not a user certificate (its category is " + std::to_string(certificate.category) + ", not 1)";
  if (!IsUtf8(certificate.label)) return "skipped: its label is not UTF-8";
  if (!IsCertificate(certificate.value)) return "skipped: its value is no X.509 certificate";
  if (!certificate.hasPublicKey) return "published without a key: no public key has its identifier";
  return "published with its key";
}

std::string CardSurvey(const std::string& path, const std::vector<SandboxRule>& rules,
                       std::chrono::milliseconds patience) {
  const auto sandbox = rules.empty() ? nullptr : std::make_unique<Sandbox>(rules, Sandbox::Programs::None);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "  not asked: no pipe\n";
  std::vector<std::string> variables = ExtensionEnvironment();
  ChildProcess child([&] { return Survey(path, sandbox.get(), variables, ends[1]); });
  close(ends[1]);
  std::string text;
  const bool inTime = ReadUntilEnd(ends[0], patience, &text);
  close(ends[0]);
  constexpr std::chrono::milliseconds kToLeave{500};
  const int status = child.End(inTime ? kToLeave : std::chrono::milliseconds(0));
  if (!inTime) return text + "  the library did not answer within " + InWords(patience) + "\n";
  if (!WIFSIGNALED(status)) return text;
  return text + "  the library ended its process by signal " + std::to_string(WTERMSIG(status)) + "\n";
}

}  // namespace Host
