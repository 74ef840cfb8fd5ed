#pragma once

/// What the null library and its users agree on.
namespace NullCard {

inline constexpr char kReader[] = "Null Reader";
inline constexpr char kCertificates[] = "QEL_NULL_CARD_CERTIFICATES";
inline constexpr char kSlots[] = "QEL_NULL_CARD_SLOTS";

}  // namespace NullCard
