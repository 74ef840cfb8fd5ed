#pragma once

#include <string>

/// Returns the path of the maker's PKCS#11 library: from the folder of the main bundle's executable through ".." to
/// Frameworks. It is not standardised: the ".." stays.
std::string BundledLibraryPath();
