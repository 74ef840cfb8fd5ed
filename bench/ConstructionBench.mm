// Construction of a token and its end, beside the same calls made bare and the parsing of the certificates.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>

#include "bench/BenchCard.h"
#include "bench/NullCard.h"
#import "bench/TokenInProcess.h"
#include "bench/Turns.h"
#include "pkcs11/Calls.h"

namespace {

struct Size {
  int certificates;
  int turns;
  int calls;
};

#ifdef QEL_BENCH_ON_SOFTHSM
constexpr char kLibrary[] = "SoftHSM2";
constexpr Size kSizes[] = {{1, 100, 5}, {10, 50, 1}, {100, 10, 1}};

std::string ReaderOfCard(const Size &size) {
  return BenchCard::Use(BenchCard::WithCertificates(size.certificates));
}
#else
constexpr char kLibrary[] = "a null library";
constexpr Size kSizes[] = {{1, 100, 5}, {10, 100, 1}, {100, 30, 1}, {1000, 5, 1}};

std::string ReaderOfCard(const Size &) {
  return NullCard::kReader;
}
#endif

long PeakKiB() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

void Parse(const Bare::ByteString &der) {
  NSData *data = [[NSData alloc] initWithBytes:der.data() length:der.size()];
  SecCertificateRef certificate = SecCertificateCreateWithData(nullptr, (CFDataRef)data);
  if (certificate == nullptr) std::abort();
  CFRelease(certificate);
  [data release];
}

void ConstructBare(const std::string &reader) {
  @autoreleasepool {
    Bare::Construct(PKCS11::Functions(), reader, Parse);
  }
}

void Construction(benchmark::State &state, const Size &size) {
  const std::string reader = ReaderOfCard(size);
  const std::string certificates = std::to_string(size.certificates);
  setenv(NullCard::kCertificates, "1", 1);
  TokenInProcess::ConstructAndEnd(reader.c_str());  // what is loaded once is no part of the peak
  setenv(NullCard::kCertificates, certificates.c_str(), 1);
  const long before = PeakKiB();
  TokenInProcess::ConstructAndEnd(reader.c_str());
  state.counters["peak KiB"] = static_cast<double>(PeakKiB() - before);
  TakeTurns(state, size.calls,
            {{"product", [&] { TokenInProcess::ConstructAndEnd(reader.c_str()); }},
             {"same calls and parsing", [&] { ConstructBare(reader); }}});
}

}  // namespace

int main(int argc, char **argv) {
  for (const Size &size : kSizes) {
    const std::string name =
        "construction with " + std::to_string(size.certificates) + " certificates on " + kLibrary + "/turns";
    benchmark::RegisterBenchmark(name.c_str(), Construction, size)->Iterations(size.turns);
  }
  return RunBenchmarks(argc, argv);
}
