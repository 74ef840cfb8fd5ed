#include "host/WatchView.h"

#include <unistd.h>

#include <cstdio>
#include <ctime>

namespace Host {
namespace {

constexpr size_t kRecent = 5;

class LineView : public WatchView {
 public:
  explicit LineView(bool json) : m_json(json) {}

  void Tell(const WatchEvent& event) override {
    using nlohmann::json;
    const std::string line = m_json ? event.described.dump(-1, ' ', false, json::error_handler_t::replace)
                                    : ForTerminal(event.line, std::string::npos);
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
  }

  void Show(const WatchState&) override {}

 private:
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
    m_screen.Draw(ScreenLines(state, m_recent, SizeOf(STDOUT_FILENO), UsesColours()));
  }

  int Keys() const override { return m_screen.Keys(); }

  bool Ends() override { return m_screen.Typed().find_first_of("qQ\4") != std::string::npos; }

 private:
  FullScreen m_screen;
  std::vector<std::string> m_recent;
};

}  // namespace

std::unique_ptr<WatchView> MakeLineView(bool json) {
  return std::make_unique<LineView>(json);
}

std::unique_ptr<WatchView> MakeScreenView() {
  return std::make_unique<ScreenView>();
}

}  // namespace Host
