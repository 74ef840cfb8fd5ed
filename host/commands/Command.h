/// What every command's description on the command line is made with.

#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Host {

/// How help explains what names an item.
inline constexpr char kIdentifiers[] =
    "ID is an item's identifier in hexadecimal, as 'list' prints it, or its label,\n"
    "whole or without what stands in brackets at its end; id:ID and label:TEXT say\n"
    "which is meant.\n";

/// How help explains files.
inline constexpr char kFiles[] = "FILE may be - for standard input or output.\n";

/// What follows the options in a help. `notes` and `examples` are whole lines.
std::string HelpFooter(const std::string& notes, const std::string& examples);

/// A new command of `app`; `notes` and `examples` are whole lines of its help.
CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, const std::string& notes,
                     const std::string& examples);

/// An argument that `command` needs. `value` outlives the command line.
CLI::Option* AddText(CLI::App* command, const char* option, std::string& value, const char* type, const char* help);

/// Lets an option take whole numbers from `low` to `high`; another is told so.
CLI::Validator Between(int low, int high);

}  // namespace Host
