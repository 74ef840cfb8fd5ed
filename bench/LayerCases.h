#pragma once

#include <functional>
#include <string>
#include <vector>

/// One operation on the null library, by the product and by bare calls.
struct LayerCase {
  std::string name;
  std::function<void()> product;
  std::function<void()> bare;
};

/// Every operation of a session. The token that they work on is made by the first call and lives until the process
/// ends.
const std::vector<LayerCase>& LayerCases();
