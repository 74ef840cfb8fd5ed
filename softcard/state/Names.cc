#include "softcard/state/Names.h"

#include <cstdio>

#include "report/ResultNames.h"

namespace SoftCard {

namespace {

struct Name {
  unsigned long value;
  const char* text;
};

#define NAME(symbol) \
  { symbol, #symbol }

constexpr Name kMechanisms[] = {NAME(CKM_RSA_PKCS_KEY_PAIR_GEN),
                                NAME(CKM_RSA_PKCS),
                                NAME(CKM_RSA_X_509),
                                NAME(CKM_MD5_RSA_PKCS),
                                NAME(CKM_SHA1_RSA_PKCS),
                                NAME(CKM_RSA_PKCS_OAEP),
                                NAME(CKM_SHA1_RSA_X9_31),
                                NAME(CKM_RSA_PKCS_PSS),
                                NAME(CKM_SHA1_RSA_PKCS_PSS),
                                NAME(CKM_SHA256_RSA_PKCS),
                                NAME(CKM_SHA384_RSA_PKCS),
                                NAME(CKM_SHA512_RSA_PKCS),
                                NAME(CKM_SHA256_RSA_PKCS_PSS),
                                NAME(CKM_SHA384_RSA_PKCS_PSS),
                                NAME(CKM_SHA512_RSA_PKCS_PSS),
                                NAME(CKM_SHA512_224),
                                NAME(CKM_SHA512_224_HMAC),
                                NAME(CKM_SHA512_224_HMAC_GENERAL),
                                NAME(CKM_SHA512_224_KEY_DERIVATION),
                                NAME(CKM_SHA512_256),
                                NAME(CKM_SHA512_256_HMAC),
                                NAME(CKM_SHA512_256_HMAC_GENERAL),
                                NAME(CKM_SHA512_256_KEY_DERIVATION),
                                NAME(CKM_SHA512_T),
                                NAME(CKM_SHA512_T_HMAC),
                                NAME(CKM_SHA512_T_HMAC_GENERAL),
                                NAME(CKM_SHA512_T_KEY_DERIVATION),
                                NAME(CKM_DES3_KEY_GEN),
                                NAME(CKM_DES3_ECB),
                                NAME(CKM_DES3_CBC),
                                NAME(CKM_DES3_MAC),
                                NAME(CKM_DES3_MAC_GENERAL),
                                NAME(CKM_DES3_CBC_PAD),
                                NAME(CKM_DES3_CMAC_GENERAL),
                                NAME(CKM_DES3_CMAC),
                                NAME(CKM_MD5),
                                NAME(CKM_MD5_HMAC),
                                NAME(CKM_MD5_HMAC_GENERAL),
                                NAME(CKM_SHA_1),
                                NAME(CKM_SHA_1_HMAC),
                                NAME(CKM_SHA_1_HMAC_GENERAL),
                                NAME(CKM_SHA256),
                                NAME(CKM_SHA256_HMAC),
                                NAME(CKM_SHA256_HMAC_GENERAL),
                                NAME(CKM_SHA384),
                                NAME(CKM_SHA384_HMAC),
                                NAME(CKM_SHA384_HMAC_GENERAL),
                                NAME(CKM_SHA512),
                                NAME(CKM_SHA512_HMAC),
                                NAME(CKM_SHA512_HMAC_GENERAL),
                                NAME(CKM_GENERIC_SECRET_KEY_GEN),
                                NAME(CKM_MD5_KEY_DERIVATION),
                                NAME(CKM_SHA1_KEY_DERIVATION),
                                NAME(CKM_SHA256_KEY_DERIVATION),
                                NAME(CKM_SHA384_KEY_DERIVATION),
                                NAME(CKM_SHA512_KEY_DERIVATION),
                                NAME(CKM_ECDSA_KEY_PAIR_GEN),
                                NAME(CKM_ECDSA),
                                NAME(CKM_ECDSA_SHA1),
                                NAME(CKM_ECDSA_SHA224),
                                NAME(CKM_ECDSA_SHA256),
                                NAME(CKM_ECDSA_SHA384),
                                NAME(CKM_ECDSA_SHA512),
                                NAME(CKM_ECDH1_DERIVE),
                                NAME(CKM_ECDH1_COFACTOR_DERIVE),
                                NAME(CKM_AES_KEY_GEN),
                                NAME(CKM_AES_ECB),
                                NAME(CKM_AES_CBC),
                                NAME(CKM_AES_MAC),
                                NAME(CKM_AES_MAC_GENERAL),
                                NAME(CKM_AES_CBC_PAD),
                                NAME(CKM_AES_CTR),
                                NAME(CKM_AES_GCM),
                                NAME(CKM_AES_CCM),
                                NAME(CKM_AES_CTS),
                                NAME(CKM_AES_CMAC),
                                NAME(CKM_AES_CMAC_GENERAL),
                                NAME(CKM_AES_XCBC_MAC),
                                NAME(CKM_AES_XCBC_MAC_96),
                                NAME(CKM_AES_GMAC),
                                NAME(CKM_DES3_ECB_ENCRYPT_DATA),
                                NAME(CKM_DES3_CBC_ENCRYPT_DATA),
                                NAME(CKM_AES_ECB_ENCRYPT_DATA),
                                NAME(CKM_AES_CBC_ENCRYPT_DATA),
                                NAME(CKM_AES_OFB),
                                NAME(CKM_AES_CFB64),
                                NAME(CKM_AES_CFB8),
                                NAME(CKM_AES_CFB128),
                                NAME(CKM_AES_CFB1),
                                NAME(CKM_SHA224),
                                NAME(CKM_SHA224_HMAC),
                                NAME(CKM_SHA224_HMAC_GENERAL),
                                NAME(CKM_SHA224_RSA_PKCS),
                                NAME(CKM_SHA224_RSA_PKCS_PSS),
                                NAME(CKM_SHA224_KEY_DERIVATION),
                                NAME(CKM_AES_KEY_WRAP),
                                NAME(CKM_AES_KEY_WRAP_PAD),
                                NAME(CKM_RSA_PKCS_TPM_1_1),
                                NAME(CKM_RSA_PKCS_OAEP_TPM_1_1),
                                NAME(CKM_EC_EDWARDS_KEY_PAIR_GEN)};

constexpr Name kAttributes[] = {NAME(CKA_CLASS),
                                NAME(CKA_TOKEN),
                                NAME(CKA_PRIVATE),
                                NAME(CKA_LABEL),
                                NAME(CKA_APPLICATION),
                                NAME(CKA_VALUE),
                                NAME(CKA_OBJECT_ID),
                                NAME(CKA_CERTIFICATE_TYPE),
                                NAME(CKA_ISSUER),
                                NAME(CKA_SERIAL_NUMBER),
                                NAME(CKA_AC_ISSUER),
                                NAME(CKA_OWNER),
                                NAME(CKA_ATTR_TYPES),
                                NAME(CKA_TRUSTED),
                                NAME(CKA_CERTIFICATE_CATEGORY),
                                NAME(CKA_JAVA_MIDP_SECURITY_DOMAIN),
                                NAME(CKA_URL),
                                NAME(CKA_HASH_OF_SUBJECT_PUBLIC_KEY),
                                NAME(CKA_HASH_OF_ISSUER_PUBLIC_KEY),
                                NAME(CKA_NAME_HASH_ALGORITHM),
                                NAME(CKA_CHECK_VALUE),
                                NAME(CKA_KEY_TYPE),
                                NAME(CKA_SUBJECT),
                                NAME(CKA_ID),
                                NAME(CKA_SENSITIVE),
                                NAME(CKA_ENCRYPT),
                                NAME(CKA_DECRYPT),
                                NAME(CKA_WRAP),
                                NAME(CKA_UNWRAP),
                                NAME(CKA_SIGN),
                                NAME(CKA_SIGN_RECOVER),
                                NAME(CKA_VERIFY),
                                NAME(CKA_VERIFY_RECOVER),
                                NAME(CKA_DERIVE),
                                NAME(CKA_START_DATE),
                                NAME(CKA_END_DATE),
                                NAME(CKA_MODULUS),
                                NAME(CKA_MODULUS_BITS),
                                NAME(CKA_PUBLIC_EXPONENT),
                                NAME(CKA_PRIVATE_EXPONENT),
                                NAME(CKA_PRIME_1),
                                NAME(CKA_PRIME_2),
                                NAME(CKA_EXPONENT_1),
                                NAME(CKA_EXPONENT_2),
                                NAME(CKA_COEFFICIENT),
                                NAME(CKA_PUBLIC_KEY_INFO),
                                NAME(CKA_PRIME),
                                NAME(CKA_SUBPRIME),
                                NAME(CKA_BASE),
                                NAME(CKA_PRIME_BITS),
                                NAME(CKA_VALUE_BITS),
                                NAME(CKA_VALUE_LEN),
                                NAME(CKA_EXTRACTABLE),
                                NAME(CKA_LOCAL),
                                NAME(CKA_NEVER_EXTRACTABLE),
                                NAME(CKA_ALWAYS_SENSITIVE),
                                NAME(CKA_KEY_GEN_MECHANISM),
                                NAME(CKA_MODIFIABLE),
                                NAME(CKA_COPYABLE),
                                NAME(CKA_DESTROYABLE),
                                NAME(CKA_ECDSA_PARAMS),
                                NAME(CKA_EC_POINT),
                                NAME(CKA_SECONDARY_AUTH),
                                NAME(CKA_AUTH_PIN_FLAGS),
                                NAME(CKA_ALWAYS_AUTHENTICATE),
                                NAME(CKA_WRAP_WITH_TRUSTED),
                                NAME(CKA_OTP_FORMAT),
                                NAME(CKA_OTP_LENGTH),
                                NAME(CKA_OTP_TIME_INTERVAL),
                                NAME(CKA_OTP_USER_FRIENDLY_MODE),
                                NAME(CKA_OTP_CHALLENGE_REQUIREMENT),
                                NAME(CKA_OTP_TIME_REQUIREMENT),
                                NAME(CKA_OTP_COUNTER_REQUIREMENT),
                                NAME(CKA_OTP_PIN_REQUIREMENT),
                                NAME(CKA_OTP_USER_IDENTIFIER),
                                NAME(CKA_OTP_SERVICE_IDENTIFIER),
                                NAME(CKA_OTP_SERVICE_LOGO),
                                NAME(CKA_OTP_SERVICE_LOGO_TYPE),
                                NAME(CKA_OTP_COUNTER),
                                NAME(CKA_OTP_TIME),
                                NAME(CKA_GOSTR3410_PARAMS),
                                NAME(CKA_GOSTR3411_PARAMS),
                                NAME(CKA_GOST28147_PARAMS),
                                NAME(CKA_HW_FEATURE_TYPE),
                                NAME(CKA_RESET_ON_INIT),
                                NAME(CKA_HAS_RESET),
                                NAME(CKA_PIXEL_X),
                                NAME(CKA_PIXEL_Y),
                                NAME(CKA_RESOLUTION),
                                NAME(CKA_CHAR_ROWS),
                                NAME(CKA_CHAR_COLUMNS),
                                NAME(CKA_COLOR),
                                NAME(CKA_BITS_PER_PIXEL),
                                NAME(CKA_CHAR_SETS),
                                NAME(CKA_ENCODING_METHODS),
                                NAME(CKA_MIME_TYPES),
                                NAME(CKA_MECHANISM_TYPE),
                                NAME(CKA_REQUIRED_CMS_ATTRIBUTES),
                                NAME(CKA_DEFAULT_CMS_ATTRIBUTES),
                                NAME(CKA_SUPPORTED_CMS_ATTRIBUTES),
                                NAME(CKA_WRAP_TEMPLATE),
                                NAME(CKA_UNWRAP_TEMPLATE),
                                NAME(CKA_DERIVE_TEMPLATE),
                                NAME(CKA_ALLOWED_MECHANISMS)};

#undef NAME

template <size_t Count>
std::string NameIn(const Name (&names)[Count], unsigned long value) {
  for (const auto& name : names)
    if (name.value == value) return name.text;
  return Hex(value, 8);
}

}  // namespace

std::string ResultName(CK_RV result) {
  return Report::ResultName(result);
}

std::string MechanismName(CK_MECHANISM_TYPE mechanism) {
  return NameIn(kMechanisms, mechanism);
}

std::string AttributeName(CK_ATTRIBUTE_TYPE attribute) {
  return NameIn(kAttributes, attribute);
}

std::string Hex(unsigned long value, int digits) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%0*lX", digits, value);
  return text;
}

}  // namespace SoftCard
