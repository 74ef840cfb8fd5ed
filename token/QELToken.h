#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include <memory>
#include <vector>

#include "pkcs11/Object.h"

NS_ASSUME_NONNULL_BEGIN

/// The token of one card: opens a PKCS#11 session on each slot of the card's reader, publishes the user's certificates
/// and keys, and closes the sessions when it is released. One operation at a time, on the thread on which
/// CryptoTokenKit calls.
@interface QELToken : TKSmartCardToken <TKTokenDelegate> {
  NSMutableArray<NSNumber *> *m_slots;
  NSMutableArray<NSNumber *> *m_sessions;
}

/// The PKCS#11 slots that belong to the card's reader (CK_SLOT_ID), in the library's order.
@property(atomic, retain, nullable) NSMutableArray<NSNumber *> *hSlots;

/// One open session (CK_SESSION_HANDLE) per entry of hSlots, at the same index. Owned by the token.
@property(atomic, retain, nullable) NSMutableArray<NSNumber *> *hSessions;

/// Builds the token from the card. Its instance identifier is "QEL-" and the serial number on the reader's first slot
/// without blanks and tabs at both ends, in hexadecimal when it is not ASCII. The first token of the process loads the
/// settings, starts the token log when they ask for it, and loads the PKCS#11 library and the PIN dialog library; later
/// ones reuse them. Returns nil with an error of domain "QELToken" on failure; nil with `error` untouched when the
/// card's token information cannot be read. `error` may be null.
- (nullable instancetype)initWithSmartCard:(TKSmartCard *)smartCard
                                       AID:(nullable NSData *)AID
                               tokenDriver:(TKSmartCardTokenDriver *)tokenDriver
                                     error:(NSError *_Nullable *_Nullable)error;

@end

@interface QELToken (Slots)

/// Returns every PKCS#11 slot whose description contains the name of the card's reader, in the library's order; at
/// least one. Throws -4 when the slots cannot be read or none matches.
- (NSMutableArray<NSNumber *> *)slotsCorrespondingToSmartCard:(TKSmartCard *)smartCard;

@end

@interface QELToken (Items)

/// Returns the certificates of the user category on the session's slot, in the library's order. Throws -6.
- (std::vector<PKCS11::Certificate>)clientCertificates:(CK_SESSION_HANDLE)session;

/// Returns the first public key with exactly this CKA_ID, or nothing. Throws -6.
- (std::unique_ptr<PKCS11::PublicKey>)findPublicKeyWithID:(const std::vector<CK_BYTE> &)keyID
                                                  session:(CK_SESSION_HANDLE)session;

/// Appends the items of one slot to `items`: each usable certificate, directly followed by its key where the card has
/// the public key. What cannot be published is skipped without a message. Throws -6 when the card cannot be read.
- (void)appendItemsOfSession:(CK_SESSION_HANDLE)session
                   firstSlot:(BOOL)firstSlot
                     toItems:(NSMutableArray<TKTokenKeychainItem *> *)items;

@end

@interface QELToken (Logging)

/// Starts the token log: every log message of the process goes to the file from now on. May run again; the sink and its
/// level are set by the first run only. Never fails; messages that cannot be written are lost.
- (void)initLogging;

@end

NS_ASSUME_NONNULL_END
