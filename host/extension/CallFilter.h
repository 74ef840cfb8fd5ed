#pragma once

namespace Host {

/// From now on the calling thread and its children make no sockets but local ones, whatever the kernel's version of
/// Landlock confines: not for TCP, UDP or any other network. Neither do they leave their process group, nor the fate of
/// the process that started them. Returns whether it took effect. May be called in a forked child, after privileges
/// were given up for good (PR_SET_NO_NEW_PRIVS).
bool FilterCalls();

}  // namespace Host
