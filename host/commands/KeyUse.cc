#include "host/commands/KeyUse.h"

#include "host/commands/Results.h"
#include "host/keys/Service.h"

namespace Host {

Wire::Bytes ReadInput(const Options& options, const std::string& path) {
  if (path == "-" && options.pinFile == "-")
    throw Failure(ExitStatus::Usage, "standard input cannot be both the data and the PIN; name a file for one of them");
  return ReadWholeFile(path);
}

void UseKey(const Options& options, const std::string& id, const std::string& path, Secrecy secrecy,
            const KeyUse& use) {
  RequireWritable(path);
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  const CardTokens tokens = OpenTokens(options, process);
  const FoundItem key = FindItem(tokens, Wire::Item::Kind::Key, id);
  const PinSource pins(options.pinFile);
  KeySession session(*key.token, pins);
  Deliver(options, path, use(session, *key.item), secrecy);
}

}  // namespace Host
