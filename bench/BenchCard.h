#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// The SoftHSM2 tokens that the benchmarks share, each in a store of its own below $QEL_BENCH_CARDS; bench_cards makes
/// them.
namespace BenchCard {

inline constexpr char kPin[] = "benchmark-pin";
inline constexpr char kLabel[] = "bench";

/// RSA-2048, RSA-3072, P-256 and P-384 keys under the identifiers 1 to 4, each with its certificate.
inline constexpr char kMain[] = "main";
/// An RSA-2048 key under identifier 1 and a P-256 key under identifier 2, each with its certificate: six objects, and
/// 200 more on the second card.
inline constexpr char kSixObjects[] = "6-objects";
inline constexpr char kTwoHundredSixObjects[] = "206-objects";
/// So many certificates, each with its key pair.
std::string WithCertificates(int count);

/// What bench_cards writes beside the cards for Ciphertext and PeerKey.
inline constexpr char kCiphertextFile[] = "ciphertext";
inline constexpr char kPeerKeyFile[] = "peer-key";

/// The folder of a card's store.
std::filesystem::path Store(const std::string& name);

/// Directs SoftHSM2, and so every library over it in this process and its children, to the card's store. Returns the
/// name of the card's reader.
std::string Use(const std::string& name);

/// 32 bytes, encrypted with PKCS#1 v1.5 padding for the RSA key of kMain.
std::vector<unsigned char> Ciphertext();

/// Another P-256 key pair's public key, in DER (SubjectPublicKeyInfo). Its last 64 bytes are X and Y.
std::vector<unsigned char> PeerKey();

}  // namespace BenchCard
