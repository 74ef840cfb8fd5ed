#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "platform/src/Foundation/CrashReport.h"
#include "platform/src/Foundation/DefaultsDatabase.h"
#include "platform/src/Foundation/ExtensionServer.h"
#include "platform/src/Foundation/StartedProgram.h"

namespace {

constexpr int ExitDone = 0;
constexpr int ExitFailed = 1;
constexpr int ExitUsage = 2;

std::optional<int> HostSocket(int argc, char** argv) {
  constexpr char option[] = "--host-socket=";
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], option, sizeof option - 1) != 0) {
      continue;
    }
    char* end = nullptr;
    const char* number = argv[i] + sizeof option - 1;
    const long descriptor = std::strtol(number, &end, 10);
    struct stat status = {};
    const bool isSocket =
        end != number && *end == '\0' && fstat(static_cast<int>(descriptor), &status) == 0 && S_ISSOCK(status.st_mode);
    return isSocket ? std::optional(static_cast<int>(descriptor)) : std::nullopt;
  }
  return std::nullopt;
}

bool HasOption(int argc, char** argv, const char* option) {
  return std::any_of(argv, argv + argc, [&](const char* argument) { return std::strcmp(argument, option) == 0; });
}

Wire::Message Refusal(const std::string& problem) {
  const nlohmann::json error = {{"domain", "Wire"}, {"code", 0}, {"description", problem}};
  return {{{"ok", false}, {"error", error}}, {}};
}

/// The answer to `request`, also to one that makes no sense. Other exceptions of C++ come from the extension's own code
/// and end the process, as they do in the real service.
Wire::Message Answer(ExtensionServer& server, const Wire::Message& request) {
  std::string problem;
  try {
    return server.Answer(request);
  } catch (const BadRequest& badRequest) {
    problem = badRequest.what();
  } catch (const nlohmann::json::exception& missing) {
    problem = missing.what();
  }
  return Refusal(problem);
}

/// An answer that is too long to be sent costs its request, not the process and all logins in it.
void SendAnswer(int socket, const Wire::Message& answer) {
  std::string problem;
  try {
    return Wire::Send(socket, answer);
  } catch (const Wire::ProtocolError& tooLong) {
    if (tooLong.kind() != Wire::ProtocolError::Kind::TooLong) {
      throw;
    }
    problem = tooLong.what();
  }
  Wire::Send(socket, Refusal("the answer is too long: " + problem));
}

void Serve(int socket) {
  ExtensionServer server(ExtensionBundle::OfThisProgram());
  while (const auto request = Wire::Receive(socket)) {
    const auto start = std::chrono::steady_clock::now();
    Wire::Message answer = Answer(server, *request);
    answer.header["nanoseconds"] = std::chrono::nanoseconds(std::chrono::steady_clock::now() - start).count();
    SendAnswer(socket, answer);
  }
}

}  // namespace

/// The entry of an extension's process: answers the host until it closes the socket.
extern "C" int NSExtensionMain(int argc, char** argv) {
  PrepareForCrash();
  const std::optional<int> socket = HostSocket(argc, argv);
  if (!socket) {
    std::fprintf(stderr, "%s: an extension is started by its host, with --host-socket=DESCRIPTOR\n", argv[0]);
    return ExitUsage;
  }
  if (HasOption(argc, argv, "--run-nothing")) {
    RemainTheStartedProgram();
  }
  UseNoDefaultsDatabase();
  try {
    Serve(*socket);
  } catch (const Wire::ProtocolError& problem) {
    std::fprintf(stderr, "%s: the host cannot be served: %s\n", argv[0], problem.what());
    return ExitFailed;
  } catch (const ExtensionBundleError& problem) {
    std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
    return ExitFailed;
  }
  return ExitDone;
}
