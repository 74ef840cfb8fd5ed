#include "softcard/state/RealLibrary.h"

#include <dlfcn.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "softcard/state/Softoken.h"

namespace SoftCard {

namespace {

void SetEnvironment(const char* name, const std::optional<std::string>& value) {
  if (value)
    setenv(name, value->c_str(), 1);
  else
    unsetenv(name);
}

}  // namespace

void* OpenLibrary(const std::string& path) {
  // It stays in memory: what softoken needs keeps its state until the process ends, and would lose it.
  if (void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE)) return library;
  const std::string problem = dlerror();
  throw std::runtime_error(problem + (path == kSoftoken ? "; install the package libnss3" : ""));
}

std::string PrepareTokenStore(const std::filesystem::path& directory) {
  const auto tokens = std::filesystem::absolute(directory / "tokens");
  const auto configuration = std::filesystem::absolute(directory / "softhsm2.conf");
  MakePrivateDirectory(tokens);
  const auto text = "directories.tokendir = " + tokens.string() + "\nobjectstore.backend = file\nlog.level = ERROR\n";
  // Every start of the library comes here, and the file is the same each time.
  std::ifstream before(configuration);
  if (std::string(std::istreambuf_iterator<char>(before), {}) != text) WritePrivateFile(configuration, text);
  return configuration.string();
}

CK_RV InitializeWithParameters(CK_FUNCTION_LIST* library, const std::string& parameters, void* arguments) {
  if (parameters.empty()) return library->C_Initialize(arguments);
  // NSS softoken reads one more pointer after pReserved when that is given, and insists on null there.
  struct {
    CK_C_INITIALIZE_ARGS standard;
    void* after;
  } extended{};
  if (arguments) extended.standard = *static_cast<CK_C_INITIALIZE_ARGS*>(arguments);
  auto handedOver = parameters;
  extended.standard.pReserved = handedOver.data();
  return library->C_Initialize(&extended);
}

ScopedEnvironment::ScopedEnvironment(const char* name, const std::optional<std::string>& value) : m_name(name) {
  if (const char* before = std::getenv(name)) m_before = before;
  SetEnvironment(name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
  SetEnvironment(m_name, m_before);
}

}  // namespace SoftCard
