#ifndef SOFTCARD_CLIENT_H
#define SOFTCARD_CLIENT_H

#include <deque>
#include <string>
#include <vector>

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

using Bytes = std::vector<unsigned char>;

/// Throws std::runtime_error with the call's and the result's name unless `result` is CKR_OK.
void Require(const char* call, CK_RV result);

/// A PKCS#11 library, loaded and initialized from construction to destruction.
class Pkcs11Library {
 public:
  /// `parameters` as InitializeWithParameters has them. Throws std::runtime_error, naming the file or the failed call.
  explicit Pkcs11Library(const std::string& path, const std::string& parameters = {});
  ~Pkcs11Library();
  Pkcs11Library(const Pkcs11Library&) = delete;
  Pkcs11Library& operator=(const Pkcs11Library&) = delete;

  CK_FUNCTION_LIST* operator->() const { return m_functions; }

  /// All slots, with or without a token. Throws std::runtime_error.
  std::vector<CK_SLOT_ID> Slots() const;

 private:
  void* m_library;
  CK_FUNCTION_LIST* m_functions = nullptr;
};

/// A read-write session with a user logged in, closed at the end of the scope.
class LoggedInSession {
 public:
  /// Throws std::runtime_error, naming the failed call.
  LoggedInSession(const Pkcs11Library& library, CK_SLOT_ID slot, CK_USER_TYPE user, const std::string& pin);
  ~LoggedInSession();
  LoggedInSession(const LoggedInSession&) = delete;
  LoggedInSession& operator=(const LoggedInSession&) = delete;

  CK_SESSION_HANDLE Handle() const { return m_handle; }
  CK_FUNCTION_LIST* operator->() const { return m_library.operator->(); }

  /// The attribute's value. Throws std::runtime_error, naming the failed call.
  Bytes Attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const;

 private:
  const Pkcs11Library& m_library;
  CK_SESSION_HANDLE m_handle = CK_INVALID_HANDLE;
};

/// An attribute template that owns its values and clears them at the end.
class Attributes {
 public:
  Attributes() = default;
  ~Attributes();
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  Attributes& Add(CK_ATTRIBUTE_TYPE type, Bytes value);
  Attributes& AddText(CK_ATTRIBUTE_TYPE type, const std::string& text);
  Attributes& AddNumber(CK_ATTRIBUTE_TYPE type, CK_ULONG number);
  Attributes& AddFlag(CK_ATTRIBUTE_TYPE type, bool flag);

  CK_ATTRIBUTE* Data() { return m_attributes.data(); }
  CK_ULONG Count() const { return m_attributes.size(); }

 private:
  std::deque<Bytes> m_values;
  std::vector<CK_ATTRIBUTE> m_attributes;
};

}  // namespace SoftCard

#endif
