#pragma once

#import <Foundation/Foundation.h>

/// What the system's plug-in registry knows of the extension.
typedef enum {
  QELRegistrationUnknown,  ///< The registry could not be asked.
  QELRegistrationMissing,
  QELRegistrationFound,
} QELRegistration;

/// Asks the registry, through pluginkit, whether the extension with this bundle identifier is registered. Blocks until
/// pluginkit ends; never raises.
QELRegistration QELRegistrationOfExtension(NSString *identifier);

/// The bundle identifier of the extension inside the running app; nil when the app does not contain it.
NSString *QELContainedExtensionIdentifier(void);
