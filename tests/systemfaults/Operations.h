#pragma once

#include <string>
#include <vector>

#include "tests/systemfaults/SystemFaults.h"

/// One thing that the product does with the help of the system.
struct Operation {
  const char* name;
  void (*prepare)();
  void (*run)();             ///< under the watch
  std::string (*outcome)();  ///< what came of it
};

/// Every operation that the matrix goes through.
const std::vector<Operation>& Operations();

/// Loads the settings of a new object, for LoadedSettings.
void LoadSettings();
/// Returns the loaded object's values of a key that the user's file has and of one that the machine-wide one would
/// have, and forgets the object.
std::string LoadedSettings();
