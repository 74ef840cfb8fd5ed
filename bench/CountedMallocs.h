#pragma once

#include <cstddef>

/// Number of allocations of this process so far, by whatever function: a program that links this counts all of them.
size_t CountedMallocs();
