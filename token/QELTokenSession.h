#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

@class QELToken;

/// A PKCS#11 slot and the session that the token opened on it. Owns nothing: the token closes the session.
@interface SlotSessionPair : NSObject {
  CK_SLOT_ID m_slot;
  CK_SESSION_HANDLE m_session;
}

@property(atomic, assign) CK_SLOT_ID hSlot;
@property(atomic, assign) CK_SESSION_HANDLE hSession;

/// Stores the two handles.
- (instancetype)initWithSlotSession:(CK_SLOT_ID)slot session:(CK_SESSION_HANDLE)session;

@end

/// One client's use of the token. Works on the sessions that the token opened and keeps no key handle, login flag or
/// PIN: the login state lives on the card. An operation that fails returns nil: with an error of domain "QELToken" when
/// its key or session could not be had, with one of TKErrorDomain when no user is logged in and for the card results
/// that have one, with the error untouched in all other cases. One operation at a time, on the calling thread, which
/// waits for the card.
@interface QELTokenSession : TKSmartCardTokenSession <TKTokenSessionDelegate> {
  NSMutableArray<SlotSessionPair *> *m_pairs;
  SlotSessionPair *m_currentPair;  // one of m_pairs, which keeps it alive: operations read it without the property
  BOOL m_isPinPad;
  TKSmartCard *m_loginCard;
}

/// A pair per slot of the token, in the token's order.
@property(atomic, retain, nullable) NSMutableArray<SlotSessionPair *> *hSlotSessionPairs;

/// The pair that the next card call uses; one of hSlotSessionPairs.
@property(atomic, retain, nullable) SlotSessionPair *hCurrentPair;

/// Whether the card's reader has its own PIN pad.
@property(atomic, assign) BOOL isPinPad;

/// The card whose connection a login marks; set when an authentication begins. The platform promises smartCard in the
/// delegate's methods only, and a login finishes outside them.
@property(atomic, retain, nullable) TKSmartCard *loginCard;

/// Returns a session on the token's slots, autoreleased; nil when a slot's token information cannot be read, which is
/// logged.
+ (nullable instancetype)sessionWithToken:(QELToken *)token;

/// Makes the pair that holds the key the current one, by the identifier's prefix. A prefix of neither slot changes
/// nothing; one of a slot that the token does not have raises NSRangeException.
- (void)selectPairByKeyID:(NSData *)keyID;

/// Returns the first private key with the identifier's CKA_ID in the current pair's session. Throws -7 "Private key not
/// found", -6 when the search fails.
- (CK_OBJECT_HANDLE)findPrivateKeyWithKeyID:(NSData *)keyID;

/// Returns whether the user is logged in on the current pair's session. Throws -8 "Session is invalid".
- (BOOL)isUserLoggedIn;

/// Selects the key's pair and finds the key. Returns NO, with TKErrorCodeAuthenticationNeeded in `error` unless that is
/// null, when no user is logged in; nothing is searched then. Throws what the steps throw.
- (BOOL)prepareKey:(NSData *)keyID handle:(CK_OBJECT_HANDLE *)handle error:(NSError *_Nullable *_Nullable)error;

@end

@interface QELTokenSession (Signing)

/// Returns the offset of the payload in a PKCS#1 v1.5 block of type 1 (RFC 8017 section 9.2), or a negative code when
/// the padding is wrong.
- (int64_t)removePKCS1PaddingFromData:(NSData *)data;

@end

NS_ASSUME_NONNULL_END
