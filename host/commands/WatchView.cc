#include "host/commands/WatchView.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <iterator>

#include "host/base/Output.h"
#include "host/terminal/JsonText.h"

namespace Host {
namespace {

constexpr size_t kRecent = 5;

class LineView : public WatchView {
 public:
  explicit LineView(bool json) : m_json(json) {}

  void Tell(const WatchEvent& event) override {
    Print((m_json ? JsonText(event.described) : ForTerminal(event.line, std::string::npos)) + "\n");
  }

  void Show(const WatchState&) override {}

  /// A pipe tells in this way, and no other, that nobody reads it any more.
  int Keys() const override { return IsPipe() ? STDOUT_FILENO : -1; }

  bool Ends() override {
    pollfd output = {Keys(), 0, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
  }

 private:
  static bool IsPipe() {
    struct stat status = {};
    return fstat(STDOUT_FILENO, &status) == 0 && S_ISFIFO(status.st_mode);
  }

  bool m_json;
};

std::string TimeOfDay() {
  char text[16];
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  std::strftime(text, sizeof text, "%H:%M:%S", localtime_r(&now, &local));
  return text;
}

class ScreenView : public WatchView {
 public:
  void Tell(const WatchEvent& event) override {
    if (m_recent.size() == kRecent) m_recent.erase(m_recent.begin());
    m_recent.push_back(TimeOfDay() + "  " + event.line);
  }

  void Show(const WatchState& state) override {
    m_screen.Draw(ScreenLines(state, m_recent, SizeOf(STDOUT_FILENO), UsesColours(), &m_first));
  }

  int Keys() const override { return m_screen.Keys(); }

  bool Ends() override {
    const std::string typed = m_screen.Typed();
    const auto page = static_cast<long>(SizeOf(STDOUT_FILENO).rows / 2);
    m_first = static_cast<size_t>(std::max(0L, static_cast<long>(m_first) + ScrolledBy(typed, page)));
    return typed.find_first_of("qQ\4") != std::string::npos;
  }

 private:
  FullScreen m_screen;
  std::vector<std::string> m_recent;
  size_t m_first = 0;  ///< line at the top of what does not fit
};

/// What terminals send for keys that move, and what pagers take for them.
constexpr struct {
  const char* key;
  long lines, pages;
} kMoves[] = {{"\x1b[A", -1, 0}, {"\x1bOA", -1, 0},  {"k", -1, 0}, {"\x1b[B", 1, 0},  {"\x1bOB", 1, 0},
              {"j", 1, 0},       {"\x1b[5~", 0, -1}, {"b", 0, -1}, {"\x1b[6~", 0, 1}, {" ", 0, 1}};

}  // namespace

long ScrolledBy(const std::string& typed, long page) {
  long lines = 0;
  for (size_t at = 0; at < typed.size();) {
    const auto* const move = std::find_if(std::begin(kMoves), std::end(kMoves), [&](const auto& row) {
      return typed.compare(at, std::strlen(row.key), row.key) == 0;
    });
    if (move != std::end(kMoves)) lines += move->lines + move->pages * page;
    at += move != std::end(kMoves) ? std::strlen(move->key) : 1;
  }
  return lines;
}

std::unique_ptr<WatchView> MakeLineView(bool json) {
  return std::make_unique<LineView>(json);
}

std::unique_ptr<WatchView> MakeScreenView() {
  return std::make_unique<ScreenView>();
}

}  // namespace Host
