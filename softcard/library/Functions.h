#ifndef SOFTCARD_FUNCTIONS_H
#define SOFTCARD_FUNCTIONS_H

// The function list, a row per function in the list's order: its name, what its first argument names (Nothing, Slot or
// Session), and its arguments' names for the trace. In these names a leading "h" is a handle, "ul" a number, "pul" and
// "ph" a number or handle that the call gives back.
#define SOFTCARD_FUNCTIONS(ROW)                                                                                     \
  ROW(C_Initialize, Nothing, "pInitArgs")                                                                           \
  ROW(C_Finalize, Nothing, "pReserved")                                                                             \
  ROW(C_GetInfo, Nothing, "pInfo")                                                                                  \
  ROW(C_GetSlotList, Nothing, "tokenPresent pSlotList pulCount")                                                    \
  ROW(C_GetSlotInfo, Slot, "hSlot pInfo")                                                                           \
  ROW(C_GetTokenInfo, Slot, "hSlot pInfo")                                                                          \
  ROW(C_GetMechanismList, Slot, "hSlot pMechanismList pulCount")                                                    \
  ROW(C_GetMechanismInfo, Slot, "hSlot mechanism pInfo")                                                            \
  ROW(C_InitToken, Slot, "hSlot pPin ulPinLen pLabel")                                                              \
  ROW(C_InitPIN, Session, "hSession pPin ulPinLen")                                                                 \
  ROW(C_SetPIN, Session, "hSession pOldPin ulOldLen pNewPin ulNewLen")                                              \
  ROW(C_OpenSession, Slot, "hSlot flags pApplication notify phSession")                                             \
  ROW(C_CloseSession, Session, "hSession")                                                                          \
  ROW(C_CloseAllSessions, Slot, "hSlot")                                                                            \
  ROW(C_GetSessionInfo, Session, "hSession pInfo")                                                                  \
  ROW(C_GetOperationState, Session, "hSession pState pulStateLen")                                                  \
  ROW(C_SetOperationState, Session, "hSession pState ulStateLen hEncryptionKey hAuthenticationKey")                 \
  ROW(C_Login, Session, "hSession userType pPin ulPinLen")                                                          \
  ROW(C_Logout, Session, "hSession")                                                                                \
  ROW(C_CreateObject, Session, "hSession template ulCount phObject")                                                \
  ROW(C_CopyObject, Session, "hSession hObject template ulCount phNewObject")                                       \
  ROW(C_DestroyObject, Session, "hSession hObject")                                                                 \
  ROW(C_GetObjectSize, Session, "hSession hObject pulSize")                                                         \
  ROW(C_GetAttributeValue, Session, "hSession hObject template ulCount")                                            \
  ROW(C_SetAttributeValue, Session, "hSession hObject template ulCount")                                            \
  ROW(C_FindObjectsInit, Session, "hSession template ulCount")                                                      \
  ROW(C_FindObjects, Session, "hSession pObjects ulMaxCount pulCount")                                              \
  ROW(C_FindObjectsFinal, Session, "hSession")                                                                      \
  ROW(C_EncryptInit, Session, "hSession mechanism hKey")                                                            \
  ROW(C_Encrypt, Session, "hSession pData ulDataLen pEncrypted pulEncryptedLen")                                    \
  ROW(C_EncryptUpdate, Session, "hSession pPart ulPartLen pEncrypted pulEncryptedLen")                              \
  ROW(C_EncryptFinal, Session, "hSession pLastPart pulLastPartLen")                                                 \
  ROW(C_DecryptInit, Session, "hSession mechanism hKey")                                                            \
  ROW(C_Decrypt, Session, "hSession pEncrypted ulEncryptedLen pData pulDataLen")                                    \
  ROW(C_DecryptUpdate, Session, "hSession pEncrypted ulEncryptedLen pPart pulPartLen")                              \
  ROW(C_DecryptFinal, Session, "hSession pLastPart pulLastPartLen")                                                 \
  ROW(C_DigestInit, Session, "hSession mechanism")                                                                  \
  ROW(C_Digest, Session, "hSession pData ulDataLen pDigest pulDigestLen")                                           \
  ROW(C_DigestUpdate, Session, "hSession pPart ulPartLen")                                                          \
  ROW(C_DigestKey, Session, "hSession hKey")                                                                        \
  ROW(C_DigestFinal, Session, "hSession pDigest pulDigestLen")                                                      \
  ROW(C_SignInit, Session, "hSession mechanism hKey")                                                               \
  ROW(C_Sign, Session, "hSession pData ulDataLen pSignature pulSignatureLen")                                       \
  ROW(C_SignUpdate, Session, "hSession pPart ulPartLen")                                                            \
  ROW(C_SignFinal, Session, "hSession pSignature pulSignatureLen")                                                  \
  ROW(C_SignRecoverInit, Session, "hSession mechanism hKey")                                                        \
  ROW(C_SignRecover, Session, "hSession pData ulDataLen pSignature pulSignatureLen")                                \
  ROW(C_VerifyInit, Session, "hSession mechanism hKey")                                                             \
  ROW(C_Verify, Session, "hSession pData ulDataLen pSignature ulSignatureLen")                                      \
  ROW(C_VerifyUpdate, Session, "hSession pPart ulPartLen")                                                          \
  ROW(C_VerifyFinal, Session, "hSession pSignature ulSignatureLen")                                                 \
  ROW(C_VerifyRecoverInit, Session, "hSession mechanism hKey")                                                      \
  ROW(C_VerifyRecover, Session, "hSession pSignature ulSignatureLen pData pulDataLen")                              \
  ROW(C_DigestEncryptUpdate, Session, "hSession pPart ulPartLen pEncrypted pulEncryptedLen")                        \
  ROW(C_DecryptDigestUpdate, Session, "hSession pEncrypted ulEncryptedLen pPart pulPartLen")                        \
  ROW(C_SignEncryptUpdate, Session, "hSession pPart ulPartLen pEncrypted pulEncryptedLen")                          \
  ROW(C_DecryptVerifyUpdate, Session, "hSession pEncrypted ulEncryptedLen pPart pulPartLen")                        \
  ROW(C_GenerateKey, Session, "hSession mechanism template ulCount phKey")                                          \
  ROW(C_GenerateKeyPair, Session,                                                                                   \
      "hSession mechanism publicTemplate ulPublicCount privateTemplate ulPrivateCount phPublicKey phPrivateKey")    \
  ROW(C_WrapKey, Session, "hSession mechanism hWrappingKey hKey pWrappedKey pulWrappedKeyLen")                      \
  ROW(C_UnwrapKey, Session, "hSession mechanism hUnwrappingKey pWrappedKey ulWrappedKeyLen template ulCount phKey") \
  ROW(C_DeriveKey, Session, "hSession mechanism hBaseKey template ulCount phKey")                                   \
  ROW(C_SeedRandom, Session, "hSession pSeed ulSeedLen")                                                            \
  ROW(C_GenerateRandom, Session, "hSession pRandom ulRandomLen")                                                    \
  ROW(C_GetFunctionStatus, Session, "hSession")                                                                     \
  ROW(C_CancelFunction, Session, "hSession")                                                                        \
  ROW(C_WaitForSlotEvent, Nothing, "flags pSlot pReserved")

#endif
