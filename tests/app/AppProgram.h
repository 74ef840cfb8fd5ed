#pragma once

#include "tests/integration/RealCard.h"

/// Runs the app over the readers of `card`.
inline ChildResult App(const RealCard& card, const std::vector<std::string>& arguments) {
  ChildEnvironment environment = card.Environment();
  environment["QEL_CTKHOST"] = QEL_CTKHOST;
  return RunChild(QEL_APP, arguments, environment);
}
