#include "softcard/program/Client.h"

#include <dlfcn.h>
#include <openssl/crypto.h>

#include <stdexcept>

#include "softcard/state/Names.h"
#include "softcard/state/RealLibrary.h"

namespace SoftCard {

void Require(const char* call, CK_RV result) {
  if (result != CKR_OK) throw std::runtime_error(std::string(call) + "() => " + ResultName(result));
}

Pkcs11Library::Pkcs11Library(const std::string& path, const std::string& parameters) : m_library(OpenLibrary(path)) {
  try {
    const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(m_library, "C_GetFunctionList"));
    if (!getFunctionList) throw std::runtime_error(path + ": no PKCS#11 library");
    Require("C_GetFunctionList", getFunctionList(&m_functions));
    Require("C_Initialize", InitializeWithParameters(m_functions, parameters, nullptr));
  } catch (...) {
    dlclose(m_library);
    throw;
  }
}

Pkcs11Library::~Pkcs11Library() {
  m_functions->C_Finalize(nullptr);
  dlclose(m_library);
}

std::vector<CK_SLOT_ID> Pkcs11Library::Slots() const {
  CK_ULONG count = 0;
  Require("C_GetSlotList", m_functions->C_GetSlotList(CK_FALSE, nullptr, &count));
  std::vector<CK_SLOT_ID> slots(count);
  Require("C_GetSlotList", m_functions->C_GetSlotList(CK_FALSE, slots.data(), &count));
  slots.resize(count);
  return slots;
}

LoggedInSession::LoggedInSession(const Pkcs11Library& library, CK_SLOT_ID slot, CK_USER_TYPE user,
                                 const std::string& pin)
    : m_library(library) {
  Require("C_OpenSession",
          library->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &m_handle));
  auto* const bytes = reinterpret_cast<CK_UTF8CHAR*>(const_cast<char*>(pin.data()));
  const auto result = library->C_Login(m_handle, user, bytes, pin.size());
  if (result != CKR_OK) library->C_CloseSession(m_handle);
  Require("C_Login", result);
}

LoggedInSession::~LoggedInSession() {
  m_library->C_CloseSession(m_handle);
}

Bytes LoggedInSession::Attribute(CK_OBJECT_HANDLE object, CK_ATTRIBUTE_TYPE type) const {
  CK_ATTRIBUTE attribute{type, nullptr, 0};
  Require("C_GetAttributeValue", m_library->C_GetAttributeValue(m_handle, object, &attribute, 1));
  Bytes value(attribute.ulValueLen);
  attribute.pValue = value.data();
  Require("C_GetAttributeValue", m_library->C_GetAttributeValue(m_handle, object, &attribute, 1));
  return value;
}

Attributes::~Attributes() {
  for (auto& value : m_values) OPENSSL_cleanse(value.data(), value.size());
}

Attributes& Attributes::Add(CK_ATTRIBUTE_TYPE type, Bytes value) {
  m_values.push_back(std::move(value));
  m_attributes.push_back({type, m_values.back().data(), m_values.back().size()});
  return *this;
}

Attributes& Attributes::AddText(CK_ATTRIBUTE_TYPE type, const std::string& text) {
  return Add(type, Bytes(text.begin(), text.end()));
}

Attributes& Attributes::AddNumber(CK_ATTRIBUTE_TYPE type, CK_ULONG number) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&number);
  return Add(type, Bytes(bytes, bytes + sizeof number));
}

Attributes& Attributes::AddFlag(CK_ATTRIBUTE_TYPE type, bool flag) {
  return Add(type, Bytes(1, flag ? CK_TRUE : CK_FALSE));
}

}  // namespace SoftCard
