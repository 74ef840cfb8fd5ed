#ifndef SOFTCARD_VIRTUALCARD_H
#define SOFTCARD_VIRTUALCARD_H

#include <cstdint>
#include <functional>

namespace SoftCard {

/// Where the driver of pcscd's virtual readers listens for a card of its first reader; the next reader's is one higher.
constexpr uint16_t kVirtualReaderPort = 35963;

/// Puts a card into the virtual reader that listens at `port` of this machine, and calls `inserted`. The card has an
/// ATR and knows no command. Returns when the reader lets go, and the end of this process takes the card out.
/// Throws std::runtime_error with a sentence for the user when no reader takes it.
void PlayVirtualCard(uint16_t port, const std::function<void()>& inserted);

}  // namespace SoftCard

#endif
