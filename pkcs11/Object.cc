#include "pkcs11/Object.h"

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"

namespace PKCS11 {
namespace {

constexpr char kCannotRead[] = "Cannot read object's attribute";

void Read(const Object& object, CK_ATTRIBUTE& attribute) {
  Require("C_GetAttributeValue", Functions()->C_GetAttributeValue(object.session, object.object, &attribute, 1),
          QELTokenError::ObjectAccess, kCannotRead);
}

/// Reads an attribute of any length: a length query, then the value, also when the length is 0.
template <typename Bytes>
Bytes ReadBytes(const Object& object, CK_ATTRIBUTE_TYPE type) {
  CK_ATTRIBUTE attribute = {type, nullptr, 0};
  Read(object, attribute);
  if (attribute.ulValueLen > kLargestAnswer) {
    QELLog::Error() << "C_GetAttributeValue() reports no usable length for attribute " << type;
    throw QELTokenException(QELTokenError::ObjectAccess, kCannotRead);
  }
  Bytes value(attribute.ulValueLen, typename Bytes::value_type{});
  if (!value.empty()) attribute.pValue = value.data();
  Read(object, attribute);
  return value;
}

/// Reads an attribute of the fixed size of `Value`.
template <typename Value>
Value ReadValue(const Object& object, CK_ATTRIBUTE_TYPE type) {
  Value value{};
  CK_ATTRIBUTE attribute = {type, &value, sizeof value};
  Read(object, attribute);
  return value;
}

}  // namespace

std::vector<CK_BYTE> Object::GetID() const {
  return ReadBytes<std::vector<CK_BYTE>>(*this, CKA_ID);
}

std::string Object::GetLabel() const {
  return ReadBytes<std::string>(*this, CKA_LABEL);
}

std::vector<CK_BYTE> Certificate::GetValue() const {
  return ReadBytes<std::vector<CK_BYTE>>(*this, CKA_VALUE);
}

bool PublicKey::CanVerify() const {
  return ReadValue<CK_BBOOL>(*this, CKA_VERIFY) != 0;
}

bool PublicKey::CanEncrypt() const {
  return ReadValue<CK_BBOOL>(*this, CKA_ENCRYPT) != 0;
}

bool PublicKey::IsEC() const {
  return ReadValue<CK_KEY_TYPE>(*this, CKA_KEY_TYPE) == CKK_EC;
}

}  // namespace PKCS11
