/// Templates that describe a record to the ASN.1 coder.

#ifndef QEL_PLATFORM_SECURITY_SECASN1TYPES_H_
#define QEL_PLATFORM_SECURITY_SECASN1TYPES_H_

#include <stddef.h>
#include <stdint.h>

/// Bytes with their number.
typedef struct cssm_data {
  size_t Length;
  uint8_t* _Nullable Data;
} SecAsn1Item, SecAsn1Oid;

/// One entry of a template; an entry of kind 0 ends it.
typedef struct SecAsn1Template_struct {
  uint32_t kind;              ///< tag and modifiers
  uint32_t offset;            ///< of the field inside the record, in bytes
  const void* _Nullable sub;  ///< the template of what is inside
  uint32_t size;              ///< of the record, in bytes; in the first entry only
} SecAsn1Template;

#define SEC_ASN1_INTEGER 0x02
#define SEC_ASN1_SEQUENCE 0x10
#define SEC_ASN1_SIGNED_INT 0X800000

#endif  // QEL_PLATFORM_SECURITY_SECASN1TYPES_H_
