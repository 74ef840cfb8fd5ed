#include <dlfcn.h>
#include <objc/runtime.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "platform/macho/Loading.h"

asm(R"(.pushsection .rodata
macho_imports_start: .incbin "imports.txt"
macho_imports_end: .incbin "imports_)" QEL_PROCESSOR R"(.txt"
macho_imports_of_processor_end: .popsection)");
extern "C" __attribute__((visibility("hidden"))) const char macho_imports_start[], macho_imports_end[],
    macho_imports_of_processor_end[];
// Rows that a program has for images of its own.
extern "C" __attribute__((weak)) const char macho_more_imports_start[], macho_more_imports_end[];

namespace MachO {
namespace {

/// LLVM's C++ library is in no one else's way: it lies beside this program and binds to itself.
void* CxxLibrary() {
  static void* const library = [] {
    const auto path = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "libcxx.so";
    void* const opened = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (opened == nullptr) throw Unusable(std::string("LLVM's C++ library cannot be loaded: ") + dlerror());
    return opened;
  }();
  return library;
}

/// `answerer` is the part of a row before the symbol: who, and under which name if it is another.
void* Ask(const std::string& answerer, const std::string& symbol) {
  const size_t colon = answerer.find(':'), prefix = symbol.rfind("$_");
  const std::string who = answerer.substr(0, colon);
  const size_t start = prefix == std::string::npos ? 1 : prefix + 2;
  const std::string name = colon == std::string::npos ? symbol.substr(start) : answerer.substr(colon + 1);
  if (who == "class") return objc_lookUpClass(name.c_str());
  if (who == "metaclass") return object_getClass(reinterpret_cast<id>(objc_lookUpClass(name.c_str())));
  if (who == "text") return const_cast<char*>(symbol.c_str() + start);  // a row lives as long as the process
  if (who == "libc++") return dlsym(CxxLibrary(), name.c_str());
  if (who == "libc" || who == "foundation" || who == "platform" || who == "here")
    return dlsym(RTLD_DEFAULT, name.c_str());
  throw Unusable("the row of " + symbol + " names '" + answerer + "', who is nobody");
}

struct Row {
  std::string library;
  std::string answerer;  ///< such as "libc", "libc:name" or "here:name"
};

std::map<std::string, Row> ReadRows() {
  std::map<std::string, Row> rows;
  std::istringstream lines(std::string(macho_imports_start, macho_imports_end) +
                           std::string(macho_more_imports_start, macho_more_imports_end) +
                           std::string(macho_imports_end, macho_imports_of_processor_end));
  std::string library;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != ' ') {
      library = line;
      continue;
    }
    std::istringstream words(line);
    std::string answerer, symbol;
    words >> answerer >> symbol;
    do {
      rows[symbol] = {library, answerer};
      // What is answered here is one symbol, and then the reason.
    } while (answerer.rfind("here", 0) != 0 && words >> symbol);
  }
  return rows;
}

}  // namespace

Resolver ReadImports() {
  static const std::map<std::string, Row> rows = ReadRows();
  return [](const std::string& library, const std::string& symbol) {
    const auto found = rows.find(symbol);
    if (found == rows.end() || (!library.empty() && found->second.library != library))
      throw Unusable("the import " + symbol + " of " + library + " has no row in platform/macho/imports.txt");
    void* const place = Ask(found->second.answerer, found->first);
    if (place == nullptr)
      throw Unusable("the import " + symbol + " is not answered by " + found->second.answerer + ", as its row says");
    return place;
  };
}

}  // namespace MachO
