#include "tests/token/CoderFaults.h"

#include <Security/SecAsn1Coder.h>
#include <Security/SecBase.h>

namespace {

bool s_refusesToCreate = false;
bool s_refusesToEncode = false;
int s_created = 0;
int s_released = 0;
int s_askedToEncode = 0;

void Reset() {
  s_refusesToCreate = s_refusesToEncode = false;
  s_created = s_released = s_askedToEncode = 0;
}

}  // namespace

CoderFaults::CoderFaults() {
  Reset();
}

CoderFaults::~CoderFaults() {
  Reset();
}

void CoderFaults::RefuseToCreate() {
  s_refusesToCreate = true;
}

void CoderFaults::RefuseToEncode() {
  s_refusesToEncode = true;
}

int CoderFaults::Created() const {
  return s_created;
}

int CoderFaults::Released() const {
  return s_released;
}

int CoderFaults::AskedToEncode() const {
  return s_askedToEncode;
}

// The linker's --wrap sends the calls to the __wrap_ names and keeps the platform's own under the __real_ ones.
extern "C" {
OSStatus __real_SecAsn1CoderCreate(SecAsn1CoderRef* coder);
OSStatus __real_SecAsn1CoderRelease(SecAsn1CoderRef coder);
OSStatus __real_SecAsn1EncodeItem(SecAsn1CoderRef coder, const void* source, const SecAsn1Template* templates,
                                  SecAsn1Item* encoded);
OSStatus __wrap_SecAsn1CoderCreate(SecAsn1CoderRef* coder);
OSStatus __wrap_SecAsn1CoderRelease(SecAsn1CoderRef coder);
OSStatus __wrap_SecAsn1EncodeItem(SecAsn1CoderRef coder, const void* source, const SecAsn1Template* templates,
                                  SecAsn1Item* encoded);

OSStatus __wrap_SecAsn1CoderCreate(SecAsn1CoderRef* coder) {
  if (s_refusesToCreate) return errSecAllocate;
  ++s_created;
  return __real_SecAsn1CoderCreate(coder);
}

OSStatus __wrap_SecAsn1CoderRelease(SecAsn1CoderRef coder) {
  ++s_released;
  return __real_SecAsn1CoderRelease(coder);
}

OSStatus __wrap_SecAsn1EncodeItem(SecAsn1CoderRef coder, const void* source, const SecAsn1Template* templates,
                                  SecAsn1Item* encoded) {
  ++s_askedToEncode;
  return s_refusesToEncode ? errSecParam : __real_SecAsn1EncodeItem(coder, source, templates, encoded);
}
}
