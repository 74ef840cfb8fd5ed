#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

/// What a child process left behind. `exitStatus` is empty when a signal ended it.
struct ChildResult {
  std::optional<int> exitStatus;
  std::string output;
  std::string errors;
};

/// Changes to this process's environment for a child; nullopt removes a variable.
using ChildEnvironment = std::map<std::string, std::optional<std::string>>;

/// Runs `program` with `arguments` until it ends and collects what it writes.
ChildResult RunChild(const std::string& program, const std::vector<std::string>& arguments,
                     const ChildEnvironment& environment = {});
