#pragma once

namespace Host {

/// From now on this process writes no core file, also where cores are piped to a program, and no other process of its
/// user may look into it. May be called in a forked child.
void ForbidCoreDumps();

}  // namespace Host
