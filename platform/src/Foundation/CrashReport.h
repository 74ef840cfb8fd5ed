#pragma once

/// Keeps what a crash leaves behind free of secrets: no core file is written, since memory may hold a PIN. With
/// QEL_BACKTRACE=1 in the environment a crash writes the signal and the addresses of the calls to standard error, in
/// which the host's own messages are; then the process ends as it would have. For the main thread, before anything
/// else.
void PrepareForCrash();
