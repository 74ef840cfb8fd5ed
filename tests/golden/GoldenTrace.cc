#include "tests/golden/GoldenTrace.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>

namespace {

/// Gives handles their numbers.
class Numbering {
 public:
  std::string Apply(const std::string& line) {
    static const std::regex handle("(slot|session|object)=([0-9]+)");
    std::string result;
    auto rest = line.begin();
    for (std::sregex_iterator match(line.begin(), line.end(), handle), end; match != end; ++match) {
      result.append(rest, (*match)[0].first);
      result += (*match)[1].str() + "=#" + std::to_string(NumberOf((*match)[1], (*match)[2]));
      rest = (*match)[0].second;
    }
    return result.append(rest, line.end());
  }

 private:
  size_t NumberOf(const std::string& kind, const std::string& value) {
    auto& known = m_numbers[kind];
    return known.emplace(value, known.size() + 1).first->second;
  }

  std::map<std::string, std::map<std::string, size_t>> m_numbers;
};

std::string Numbered(const std::vector<std::string>& trace) {
  Numbering numbering;
  std::string text;
  for (const std::string& line : trace) text += numbering.Apply(line) + "\n";
  return text;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

::testing::AssertionResult MatchesGoldenTrace(const std::string& name, const std::vector<std::string>& trace) {
  const std::string path = std::string(GOLDEN_TRACES) + "/" + name + ".txt";
  const std::string actual = Numbered(trace);
  if (const char* rewrite = std::getenv("QEL_REWRITE_GOLDEN"); rewrite != nullptr && std::string(rewrite) == "1") {
    std::ofstream(path) << actual;
    return ::testing::AssertionFailure() << path << " rewritten: review it, then run without QEL_REWRITE_GOLDEN";
  }
  const std::string expected = ReadFile(path);
  if (expected.empty()) return ::testing::AssertionFailure() << "no golden trace " << path;
  if (actual == expected) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "not as in " << path << ":\n" << actual;
}
