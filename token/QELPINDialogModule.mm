#include "token/QELPINDialogModule.h"

#import <Foundation/Foundation.h>
#include <QELBuildConstants.h>

#include "pkcs11/QELTokenException.h"

namespace {

const char *LibraryPath() {
  return [@QEL_LIBRARY_DIR "/Frameworks/QELPINDialog.framework/QELPINDialog" fileSystemRepresentation];
}

}  // namespace

QELPINDialogModule::QELPINDialogModule()
    : m_library(LibraryPath(), "QELPINDialog"),
      m_dialog(reinterpret_cast<PINPadDialogFn>(m_library.LoadSymbol("PINPadDialogP"))) {
  if (m_dialog == nullptr) {
    throw QELTokenException(QELTokenError::SymbolMissing, "Unable to find function PINPadDialogP");
  }
}
