#include "pkcs11/FindObjects.h"

#include <iterator>

#include "pkcs11/Calls.h"
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

/// Runs a search and hands every batch to `take`, as (handles, number of handles). Throws as FindObjects does.
template <typename Take>
void Search(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count, Take&& take) {
  Require("C_FindObjectsInit", Functions()->C_FindObjectsInit(session, attributes, count), QELTokenError::ObjectAccess,
          "Initialization of object search failed");
  const SearchGuard guard(session);

  for (CK_ULONG total = 0;;) {
    CK_OBJECT_HANDLE batch[kBatchSize] = {};
    CK_ULONG found = 0;
    Require("C_FindObjects", Functions()->C_FindObjects(session, batch, kBatchSize, &found),
            QELTokenError::ObjectAccess, kSearchBrokeOff);
    // Only an empty batch ends the search: the library decides the end, not the size of a batch.
    if (found == 0) return;
    if (found > kBatchSize) {
      QELLog::Error() << "C_FindObjects() answers with " << found << " objects, asked for at most " << kBatchSize;
      throw QELTokenException(QELTokenError::ObjectAccess, kSearchBrokeOff);
    }
    total += found;
    if (total > kMostObjects) {
      QELLog::Error() << "C_FindObjects() finds more than " << kMostObjects << " objects";
      throw QELTokenException(QELTokenError::ObjectAccess, kSearchBrokeOff);
    }
    take(batch, found);
  }
}

}  // namespace

std::vector<CK_OBJECT_HANDLE> FindObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count) {
  std::vector<CK_OBJECT_HANDLE> objects;
  Search(session, attributes, count,
         [&](const CK_OBJECT_HANDLE* batch, CK_ULONG found) { objects.insert(objects.end(), batch, batch + found); });
  return objects;
}

std::optional<CK_OBJECT_HANDLE> FindFirstByID(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass, const CK_BYTE* id,
                                              CK_ULONG length) {
  // A library may take a null pointer for a wrong argument: an empty identifier has a byte to point to.
  static constexpr CK_BYTE kNone = 0;
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_ID, const_cast<CK_BYTE*>(length == 0 ? &kNone : id), length},
  };
  std::optional<CK_OBJECT_HANDLE> first;
  Search(session, attributes, std::size(attributes), [&](const CK_OBJECT_HANDLE* batch, CK_ULONG) {
    if (!first) first = batch[0];
  });
  return first;
}

}  // namespace PKCS11
