#include "pkcs11/FindObjects.h"

#include <iterator>

#include "pkcs11/CallResult.h"
#include "pkcs11/FunctionList.h"
#include "pkcs11/QELTokenException.h"

namespace PKCS11 {
namespace {

constexpr CK_ULONG kBatchSize = 32;
constexpr char kSearchBrokeOff[] = "Error while searching for objects on the card";

/// Ends the session's active search when the scope is left. Never throws.
class SearchGuard {
 public:
  explicit SearchGuard(CK_SESSION_HANDLE session) : m_session(session) {}
  ~SearchGuard() { Succeeded("C_FindObjectsFinal", Functions()->C_FindObjectsFinal(m_session)); }
  SearchGuard(const SearchGuard&) = delete;
  SearchGuard& operator=(const SearchGuard&) = delete;

 private:
  CK_SESSION_HANDLE m_session;
};

}  // namespace

std::vector<CK_OBJECT_HANDLE> FindObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  Require("C_FindObjectsInit", Functions()->C_FindObjectsInit(session, attributes, count), QELTokenError::ObjectAccess,
          "Initialization of object search failed");
  const SearchGuard guard(session);

  std::vector<CK_OBJECT_HANDLE> objects;
  for (;;) {
    CK_OBJECT_HANDLE batch[kBatchSize] = {};
    CK_ULONG found = 0;
    Require("C_FindObjects", Functions()->C_FindObjects(session, batch, kBatchSize, &found),
            QELTokenError::ObjectAccess, kSearchBrokeOff);
    // Only an empty batch ends the search: the library decides the end, not the size of a batch.
    if (found == 0) return objects;
    if (found > kBatchSize) {
      QELLog::Error() << "C_FindObjects() answers with " << found << " objects, asked for at most " << kBatchSize;
      throw QELTokenException(QELTokenError::ObjectAccess, kSearchBrokeOff);
    }
    objects.insert(objects.end(), batch, batch + found);
  }
}

std::vector<CK_OBJECT_HANDLE> FindObjectsByID(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                              const std::vector<CK_BYTE>& id) {
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_ID, const_cast<CK_BYTE*>(id.data()), id.size()},
  };
  return FindObjects(session, attributes, std::size(attributes));
}

}  // namespace PKCS11
