#pragma once

#import <Foundation/Foundation.h>

#include "bundle/app/Extern.h"

/// What the system's plug-in registry knows of the extension.
typedef enum {
  QELRegistrationUnknown,  ///< The registry could not be asked.
  QELRegistrationMissing,
  QELRegistrationOff,  ///< It is known, and the user has switched it off.
  QELRegistrationFound,
} QELRegistration;

/// Returns whether the registry, asked through pluginkit, knows the extension with this bundle identifier. Blocks until
/// pluginkit ends; never raises.
QEL_APP_EXTERN QELRegistration QELRegistrationOfExtension(NSString *identifier);

/// What the registry's answer, a line for each extension, says of `identifier`.
QEL_APP_EXTERN QELRegistration QELRegistrationInAnswer(NSString *answer, NSString *identifier);

/// Returns the bundle identifier of the extension inside the running app; nil when the app does not contain it.
QEL_APP_EXTERN NSString *QELContainedExtensionIdentifier(void);
