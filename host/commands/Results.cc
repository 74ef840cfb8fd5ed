#include "host/commands/Results.h"

#include <openssl/crypto.h>

#include <cstdio>

#include "host/base/Words.h"
#include "host/terminal/JsonText.h"

namespace Host {

using json = nlohmann::json;

void PrintJson(const json& value) {
  Print(JsonText(value, 2) + "\n");
}

void Deliver(const Options& options, const std::string& path, Wire::Bytes bytes, Secrecy secrecy) {
  WriteWholeFile(path, bytes, secrecy);
  if (secrecy == Secrecy::Private) OPENSSL_cleanse(bytes.data(), bytes.size());
  const size_t size = bytes.size();
  if (IsStandardOutput(path)) return;
  if (options.json) return PrintJson({{"out", path}, {"bytes", size}});
  std::fprintf(stderr, "%s: %s\n", path.c_str(), Counted(size, "byte").c_str());
}

}  // namespace Host
