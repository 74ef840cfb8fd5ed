#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Host {

/// What is wrong with a command line that `app` cannot read, and where to look, for a user: without the program's name
/// before it and without a line's end.
std::string UsageText(const CLI::App& app, const CLI::ParseError& problem);

}  // namespace Host
