#include "tests/endurance/ResourceUsage.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

double HeapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

double ResidentMemory(pid_t process) {
  std::ifstream sizes("/proc/" + std::to_string(process) + "/statm");
  double total = 0, resident = 0;
  sizes >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

int OpenDescriptors(pid_t process) {
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(process) + "/fd");
  return static_cast<int>(std::distance(begin(entries), end(entries)));
}

void Slope::Add(double steps, double value) {
  m_points.emplace_back(steps, value);
}

double Slope::PerStep() const {
  double meanSteps = 0, meanValue = 0;
  for (const auto& [steps, value] : m_points) {
    meanSteps += steps / static_cast<double>(m_points.size());
    meanValue += value / static_cast<double>(m_points.size());
  }
  double products = 0, squares = 0;
  for (const auto& [steps, value] : m_points) {
    products += (steps - meanSteps) * (value - meanValue);
    squares += (steps - meanSteps) * (steps - meanSteps);
  }
  return products / squares;
}

std::string Slope::Describe(const std::string& name, const std::string& step) const {
  char text[200];
  std::snprintf(text, sizeof text, "%s: %.4f bytes per %s over %.0f (first %.2f MB, last %.2f MB)", name.c_str(),
                PerStep(), step.c_str(), m_points.back().first - m_points.front().first, m_points.front().second / 1e6,
                m_points.back().second / 1e6);
  return text;
}
