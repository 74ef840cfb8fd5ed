#pragma once

#include <string>

/// Where the maker's PKCS#11 library lies: relative to the folder of the main bundle's executable, "..", "Frameworks".
/// The path is not standardised: it keeps its "..".
std::string BundledLibraryPath();
