#import <Foundation/Foundation.h>
#import <Security/SecKey.h>

const SecKeyKeyExchangeParameter kSecKeyKeyExchangeParameterRequestedSize = (CFStringRef) @"requestedSize";
const SecKeyKeyExchangeParameter kSecKeyKeyExchangeParameterSharedInfo = (CFStringRef) @"sharedInfo";

const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureRaw = (CFStringRef) @"algid:sign:RSA:raw";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw = (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA1 =
    (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA224 =
    (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA256 =
    (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA384 =
    (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPKCS1v15SHA512 =
    (CFStringRef) @"algid:sign:RSA:digest-PKCS1v15:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA1 =
    (CFStringRef) @"algid:sign:RSA:message-PKCS1v15:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA224 =
    (CFStringRef) @"algid:sign:RSA:message-PKCS1v15:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA256 =
    (CFStringRef) @"algid:sign:RSA:message-PKCS1v15:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA384 =
    (CFStringRef) @"algid:sign:RSA:message-PKCS1v15:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePKCS1v15SHA512 =
    (CFStringRef) @"algid:sign:RSA:message-PKCS1v15:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPSSSHA1 =
    (CFStringRef) @"algid:sign:RSA:digest-PSS:SHA1:SHA1:20";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPSSSHA224 =
    (CFStringRef) @"algid:sign:RSA:digest-PSS:SHA224:SHA224:28";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPSSSHA256 =
    (CFStringRef) @"algid:sign:RSA:digest-PSS:SHA256:SHA256:32";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPSSSHA384 =
    (CFStringRef) @"algid:sign:RSA:digest-PSS:SHA384:SHA384:48";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureDigestPSSSHA512 =
    (CFStringRef) @"algid:sign:RSA:digest-PSS:SHA512:SHA512:64";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePSSSHA1 =
    (CFStringRef) @"algid:sign:RSA:message-PSS:SHA1:SHA1:20";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePSSSHA224 =
    (CFStringRef) @"algid:sign:RSA:message-PSS:SHA224:SHA224:28";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePSSSHA256 =
    (CFStringRef) @"algid:sign:RSA:message-PSS:SHA256:SHA256:32";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePSSSHA384 =
    (CFStringRef) @"algid:sign:RSA:message-PSS:SHA384:SHA384:48";
const SecKeyAlgorithm kSecKeyAlgorithmRSASignatureMessagePSSSHA512 =
    (CFStringRef) @"algid:sign:RSA:message-PSS:SHA512:SHA512:64";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureRFC4754 = (CFStringRef) @"algid:sign:ECDSA:RFC4754";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962 = (CFStringRef) @"algid:sign:ECDSA:digest-X962";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962SHA1 = (CFStringRef) @"algid:sign:ECDSA:digest-X962:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962SHA224 =
    (CFStringRef) @"algid:sign:ECDSA:digest-X962:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962SHA256 =
    (CFStringRef) @"algid:sign:ECDSA:digest-X962:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962SHA384 =
    (CFStringRef) @"algid:sign:ECDSA:digest-X962:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureDigestX962SHA512 =
    (CFStringRef) @"algid:sign:ECDSA:digest-X962:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureMessageX962SHA1 =
    (CFStringRef) @"algid:sign:ECDSA:message-X962:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureMessageX962SHA224 =
    (CFStringRef) @"algid:sign:ECDSA:message-X962:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureMessageX962SHA256 =
    (CFStringRef) @"algid:sign:ECDSA:message-X962:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureMessageX962SHA384 =
    (CFStringRef) @"algid:sign:ECDSA:message-X962:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmECDSASignatureMessageX962SHA512 =
    (CFStringRef) @"algid:sign:ECDSA:message-X962:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionRaw = (CFStringRef) @"algid:encrypt:RSA:raw";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionPKCS1 = (CFStringRef) @"algid:encrypt:RSA:PKCS1";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionOAEPSHA1 = (CFStringRef) @"algid:encrypt:RSA:OAEP:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionOAEPSHA224 = (CFStringRef) @"algid:encrypt:RSA:OAEP:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionOAEPSHA256 = (CFStringRef) @"algid:encrypt:RSA:OAEP:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionOAEPSHA384 = (CFStringRef) @"algid:encrypt:RSA:OAEP:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmRSAEncryptionOAEPSHA512 = (CFStringRef) @"algid:encrypt:RSA:OAEP:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandard = (CFStringRef) @"algid:keyexchange:ECDH";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1 =
    (CFStringRef) @"algid:keyexchange:ECDH:KDFX963:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA224 =
    (CFStringRef) @"algid:keyexchange:ECDH:KDFX963:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA256 =
    (CFStringRef) @"algid:keyexchange:ECDH:KDFX963:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA384 =
    (CFStringRef) @"algid:keyexchange:ECDH:KDFX963:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA512 =
    (CFStringRef) @"algid:keyexchange:ECDH:KDFX963:SHA512";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactor = (CFStringRef) @"algid:keyexchange:ECDHC";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA1 =
    (CFStringRef) @"algid:keyexchange:ECDHC:KDFX963:SHA1";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA224 =
    (CFStringRef) @"algid:keyexchange:ECDHC:KDFX963:SHA224";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA256 =
    (CFStringRef) @"algid:keyexchange:ECDHC:KDFX963:SHA256";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA384 =
    (CFStringRef) @"algid:keyexchange:ECDHC:KDFX963:SHA384";
const SecKeyAlgorithm kSecKeyAlgorithmECDHKeyExchangeCofactorX963SHA512 =
    (CFStringRef) @"algid:keyexchange:ECDHC:KDFX963:SHA512";
