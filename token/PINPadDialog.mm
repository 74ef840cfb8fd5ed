#include "token/PINPadDialog.h"

#import <Foundation/Foundation.h>
#include <QELBuildConstants.h>

#include "pkcs11/QELTokenException.h"

QELPINDialogModule::QELPINDialogModule()
    : m_library(QEL_IN_LIBRARY("/Frameworks/QELPINDialog.framework/QELPINDialog"), "QELPINDialog"),
      m_dialog(reinterpret_cast<PINPadDialogFn>(m_library.LoadSymbol("PINPadDialogP"))) {
  if (m_dialog == nullptr) {
    throw QELTokenException(QELTokenError::SymbolMissing, "Unable to find function PINPadDialogP");
  }
}
