#include <algorithm>

#include "host/Readers.h"
#include "host/WatchView.h"

namespace Host {
namespace {

constexpr size_t kStateColumns = 7;
constexpr size_t kFewestColumns = 20;  // what a narrower window cannot show, its terminal cuts off
constexpr char kIndent[] = "  ";
constexpr size_t kIndented = sizeof kIndent - 1;

/// Lines that are no wider than the page.
class Screen {
 public:
  Screen(size_t columns, bool colours) : m_page{std::max(columns, kFewestColumns), colours} {}

  void Add(Style style, const std::string& text) {
    lines.push_back(m_page.Styled(style, ForTerminal(text, m_page.columns)));
  }

  void AddIndented(Style style, const std::string& text) { Add(style, kIndent + text); }

  void AddWrapped(Style style, const std::string& text) {
    for (const std::string& line : Wrapped(text, m_page.columns - kIndented)) AddIndented(style, line);
  }

  void AddReader(const WatchedReader& reader) {
    using State = WatchedReader::State;
    const char* const names[] = {"empty", "reading", "card", "failed"};
    const Style styles[] = {Style::Faint, Style::Yellow, Style::Green, Style::Red};
    const auto state = static_cast<size_t>(reader.state);
    lines.push_back(m_page.Styled(Style::Bold, Cell(reader.name, m_page.columns - kStateColumns - 1)) + " " +
                    m_page.Styled(styles[state], names[state]));
    if (reader.state == State::Failed) AddWrapped(Style::Red, reader.problem);
    if (reader.state != State::Token) return;
    const size_t count = reader.items.size();
    AddIndented(Style::Plain, reader.instanceID + ", " + std::to_string(count) + (count == 1 ? " item" : " items"));
    if (count == 0) return;
    const ItemTable table = LayOut(reader.items, m_page.columns - kIndented);
    AddIndented(Style::Faint, table.heading);
    for (const std::string& line : table.lines) AddIndented(Style::Plain, line);
  }

  std::vector<std::string> lines;

 private:
  Page m_page;
};

}  // namespace

std::vector<std::string> ScreenLines(const WatchState& state, const std::vector<std::string>& recent, TerminalSize size,
                                     bool colours) {
  Screen screen(size.columns, colours);
  screen.Add(Style::Bold, "Readers and the tokens of their cards (q ends)");
  if (!state.serviceProblem.empty()) screen.AddWrapped(Style::Yellow, state.serviceProblem);
  for (const WatchedReader& reader : state.readers) {
    screen.Add(Style::Plain, "");
    screen.AddReader(reader);
  }
  if (state.readers.empty())
    screen.AddWrapped(Style::Plain, std::string("no reader; plug one in, or ") + kMakeSoftReader);

  Screen footer(size.columns, colours);
  if (!recent.empty()) footer.Add(Style::Plain, "");
  for (const std::string& event : recent) footer.Add(Style::Faint, event);
  if (footer.lines.size() > size.rows / 2) footer.lines.clear();  // a small window is for the readers
  const size_t room = size.rows - footer.lines.size();
  if (screen.lines.size() > room) {
    const size_t hidden = screen.lines.size() - room + 1;
    screen.lines.resize(room - 1);
    screen.Add(Style::Yellow, "... " + std::to_string(hidden) + " more lines; make the window taller");
  }
  screen.lines.insert(screen.lines.end(), footer.lines.begin(), footer.lines.end());
  return screen.lines;
}

}  // namespace Host
