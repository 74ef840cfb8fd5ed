#pragma once

#import <Foundation/Foundation.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

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

NS_ASSUME_NONNULL_END
