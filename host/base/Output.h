#pragma once

#include <string>

#include "platform/wire/Client.h"

namespace Host {

/// Makes standard input, output and error safe to use: one that the caller closed is opened so that using it fails, and
/// is not taken by a file that is opened later; a pipe that nobody reads any more fails a write and ends no program.
/// For the beginning of a program.
void PrepareStandardStreams();

/// Writes to the descriptor, all of it. Returns false, with errno set, when it could not.
bool WriteAll(int descriptor, const void* bytes, size_t length);

/// Prints to standard output, at once. Throws Failure when it cannot be written; with an empty text, because there is
/// nobody to tell, when what reads it has gone.
void Print(const std::string& text);
void Print(const Wire::Bytes& bytes);

/// Whether `path` is standard output, as "-" or under a name such as /dev/stdout.
bool IsStandardOutput(const std::string& path);

/// `text` as one word of a shell.
std::string ShellWord(const std::string& text);

}  // namespace Host
