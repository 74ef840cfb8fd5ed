// What a line of the token log costs beside a bare fopen, fwprintf and fclose of the same line, and beside spdlog,
// which keeps its file open and is told to hand every line to the system.

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <sys/time.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "log/QELLog.h"
#include "log/TokenLog.h"

namespace {

constexpr char kMessage[] = "Loading content from QEL-00A1B2C3 [slot 0]";
constexpr wchar_t kWideMessage[] = L"Loading content from QEL-00A1B2C3 [slot 0]";

/// A home folder of the benchmark's own. Made before the statics of the product, which read HOME.
struct OwnHome {
  OwnHome() {
    path = std::filesystem::temp_directory_path() / "qel-bench-XXXXXX";
    if (!mkdtemp(path.data()) || setenv("HOME", path.c_str(), 1) != 0) abort();
    std::filesystem::create_directory(path + "/Documents");
  }
  ~OwnHome() { std::filesystem::remove_all(path); }
  std::string path;
};

[[gnu::init_priority(101)]] OwnHome g_home;

void TokenLogBare(benchmark::State& state) {
  const std::string path = g_home.path + "/Documents/bare.log";
  setlocale(LC_ALL, "");
  for (auto _ : state) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const tm& time = *localtime(&now.tv_sec);
    FILE* const file = fopen(path.c_str(), "at");
    fwprintf(file, L"%04i-%02i-%02i %02i:%02i:%02i,%03i [%d-%lld] %-5ls %ls - %ls\n", time.tm_year + 1900,
             time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
             static_cast<int>(now.tv_usec / 1000), getpid(), 0LL, L"INFO", L"QELToken", kWideMessage);
    fclose(file);
  }
}
BENCHMARK(TokenLogBare)->Name("token log line/stdio");

void TokenLogSpdlog(benchmark::State& state) {
  spdlog::logger logger("QELToken",
                        std::make_shared<spdlog::sinks::basic_file_sink_mt>(g_home.path + "/Documents/spdlog.log"));
  logger.set_pattern("%Y-%m-%d %H:%M:%S,%e [%P-%t] %l %n - %v");
  logger.flush_on(spdlog::level::info);
  for (auto _ : state) logger.info("{}", kMessage);
}
BENCHMARK(TokenLogSpdlog)->Name("token log line/spdlog");

void TokenLogProduct(benchmark::State& state) {
  QELTok::InitLogging();
  for (auto _ : state) QELLog::Info() << kMessage;
}
BENCHMARK(TokenLogProduct)->Name("token log line/product");

}  // namespace
