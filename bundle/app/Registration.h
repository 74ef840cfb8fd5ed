#pragma once

#import <Foundation/Foundation.h>

/// What the system's plug-in registry knows of the extension.
typedef enum {
  QELRegistrationUnknown,  ///< The registry could not be asked.
  QELRegistrationMissing,
  QELRegistrationFound,
} QELRegistration;

/// Returns whether the registry, asked through pluginkit, knows the extension with this bundle identifier. Blocks until
/// pluginkit ends; never raises.
QELRegistration QELRegistrationOfExtension(NSString *identifier);

/// Returns the bundle identifier of the extension inside the running app; nil when the app does not contain it.
NSString *QELContainedExtensionIdentifier(void);
