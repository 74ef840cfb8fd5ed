#ifndef SOFTCARD_INSTALLATION_H
#define SOFTCARD_INSTALLATION_H

#include <filesystem>

namespace SoftCard {

/// The folder `lib/qeltoken` of the prefix that the running program is installed in: it holds the extension's bundle
/// and what stands for the system's /Library. Empty for a program of a build folder. Never throws.
std::filesystem::path InstalledFolder();

}  // namespace SoftCard

#endif
