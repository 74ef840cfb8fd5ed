// What a log statement costs: one whose level is not admitted, and one into a sink that drops it.

#include <benchmark/benchmark.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include "log/QELLog.h"

namespace {

const std::string kText = "slot description";
int g_number = 4711;
double g_fraction = 0.5;

struct NullSink : QELLog::LoggerImpl {
  void Log(QELLog::LogLevel, const std::string&) override {}
};

void DeadStatement(benchmark::State& state) {
  QELLog::SetLogger(std::make_shared<NullSink>());
  QELLog::SetLevel(QELLog::LogLevel::Info);
  for (auto _ : state) {
    QELLog::Debug() << kText << g_number << g_fraction;
    benchmark::ClobberMemory();
  }
}
BENCHMARK(DeadStatement)->Name("dead statement/product");

void DeadSpdlogStatement(benchmark::State& state) {
  spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
  logger.set_level(spdlog::level::info);
  for (auto _ : state) {
    logger.debug("{}{}{}", kText, g_number, g_fraction);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(DeadSpdlogStatement)->Name("dead statement/spdlog");

void LiveStatement(benchmark::State& state) {
  QELLog::SetLogger(std::make_shared<NullSink>());
  QELLog::SetLevel(QELLog::LogLevel::Debug);
  for (auto _ : state) QELLog::Debug() << kText << g_number << g_fraction;
}
BENCHMARK(LiveStatement)->Name("live statement/product");

void LiveSpdlogStatement(benchmark::State& state) {
  spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
  logger.set_level(spdlog::level::debug);
  for (auto _ : state) logger.debug("{}{}{}", kText, g_number, g_fraction);
}
BENCHMARK(LiveSpdlogStatement)->Name("live statement/spdlog");

}  // namespace
