#include <algorithm>

#include "host/base/Words.h"
#include "host/commands/WatchView.h"
#include "host/readers/Readers.h"

namespace Host {
namespace {

constexpr size_t kStateColumns = 7;
constexpr size_t kFewestColumns = 20;  // what a narrower window cannot show, its terminal cuts off
constexpr char kTitle[] = "Readers and the tokens of their cards (q ends)";
constexpr char kWayOut[] = "q ends";
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
    const size_t width = m_page.columns - kStateColumns - 1;
    const std::vector<std::string> name = Folded(reader.name, width);
    lines.push_back(m_page.Styled(Style::Bold, Cell(name.front(), width)) + " " +
                    m_page.Styled(styles[state], names[state]));
    for (auto more = name.begin() + 1; more != name.end(); ++more) Add(Style::Bold, *more);
    if (reader.state == State::Failed) AddWrapped(Style::Red, reader.problem);
    if (reader.state != State::Token) return;
    const size_t count = reader.items.size();
    const std::string counted = reader.instanceID + ", " + Counted(count, "item");
    for (const std::string& line : Folded(counted, m_page.columns - kIndented)) AddIndented(Style::Plain, line);
    if (count == 0) return;
    const ItemTable table = LayOut(reader.items, m_page.columns - kIndented);
    if (!table.heading.empty()) AddIndented(Style::Faint, table.heading);
    for (const std::string& line : table.lines) AddIndented(Style::Plain, line);
  }

  std::vector<std::string> lines;

 private:
  Page m_page;
};

/// Keeps what fits into `room` lines, from `first` on, and says below how much there is.
void Scroll(Screen& screen, size_t room, size_t* first) {
  const size_t all = screen.lines.size();
  if (all <= room) {
    *first = 0;
    return;
  }
  const size_t shown = room > 1 ? room - 1 : room;
  *first = std::min(*first, all - shown);
  const auto begin = screen.lines.begin() + static_cast<std::ptrdiff_t>(*first);
  screen.lines = std::vector<std::string>(begin, begin + static_cast<std::ptrdiff_t>(shown));
  if (shown == room) return;
  screen.Add(Style::Yellow, "lines " + std::to_string(*first + 1) + "-" + std::to_string(*first + shown) + " of " +
                                std::to_string(all) + ", arrows scroll");
}

}  // namespace

std::vector<std::string> ScreenLines(const WatchState& state, const std::vector<std::string>& recent, TerminalSize size,
                                     bool colours, size_t* first) {
  Screen title(size.columns, colours), screen(size.columns, colours), footer(size.columns, colours);
  title.Add(Style::Bold, sizeof kTitle - 1 > size.columns ? kWayOut : kTitle);
  if (!state.serviceProblem.empty()) screen.AddWrapped(Style::Yellow, state.serviceProblem);
  for (const WatchedReader& reader : state.readers) {
    screen.Add(Style::Plain, "");
    screen.AddReader(reader);
  }
  if (state.readers.empty())
    screen.AddWrapped(Style::Plain, std::string("no reader; plug one in, or ") + kMakeSoftReader);
  if (!recent.empty()) footer.Add(Style::Plain, "");
  for (const std::string& event : recent) footer.Add(Style::Faint, event);
  if (footer.lines.size() > size.rows / 3) footer.lines.clear();  // a small window is for the readers
  Scroll(screen, size.rows - title.lines.size() - footer.lines.size(), first);
  for (const Screen* part : {&screen, &footer})
    title.lines.insert(title.lines.end(), part->lines.begin(), part->lines.end());
  return title.lines;
}

}  // namespace Host
