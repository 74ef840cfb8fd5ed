#pragma once

#include <stdexcept>
#include <string>

/// The bundle cannot be started: what is missing, and where.
class ExtensionBundleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What the bundle's Info.plist says about the extension.
struct ExtensionBundle {
  std::string driverClass;  ///< com.apple.ctk.driver-class
  std::string classID;      ///< com.apple.ctk.class-id

  /// The bundle of the running program: Info.plist in the folder above the program's. Throws ExtensionBundleError.
  static ExtensionBundle OfThisProgram();
};
