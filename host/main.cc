#include "host/base/CoreDumps.h"
#include "host/base/Output.h"
#include "host/commands/CommandLine.h"

int main(int argc, char** argv) {
  Host::PrepareStandardStreams();
  Host::ForbidCoreDumps();  // a crash must not leave a PIN in a file
  return Host::RunCommandLine(argc, argv);
}
