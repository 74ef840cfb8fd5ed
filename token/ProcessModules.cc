#include "token/ProcessModules.h"

ProcessModules& ProcessModules::Instance() {
  static ProcessModules modules;
  return modules;
}

void ProcessModules::Load() {
  if (!m_pkcs11) m_pkcs11 = std::make_unique<TarnwellPkcs11Module>();
  if (!m_pinDialog) m_pinDialog = std::make_unique<QELPINDialogModule>();
}

int ProcessModules::DialogKind(CK_SLOT_ID slot) const {
  const CK_C_GetSlotType getSlotType = m_pkcs11 ? m_pkcs11->GetSlotTypeFn() : nullptr;
  CK_ULONG slotType = 0;
  if (getSlotType == nullptr || getSlotType(slot, &slotType) != CKR_OK) return kPlainDialogKind;
  return DialogKindOfSlotType(slotType);
}
