#include <algorithm>

#include "host/Listing.h"
#include "host/WatchView.h"

namespace Host {
namespace {

using nlohmann::json;

constexpr size_t kKindColumns = 12, kTypeColumns = 9, kUseColumns = 24, kStateColumns = 8;
constexpr size_t kFewestColumns = 20;  // what a narrower window cannot show, its terminal cuts off
constexpr char kIndent[] = "  ";

class Screen {
 public:
  Screen(size_t columns, bool colours) : m_columns(std::max(columns, kFewestColumns)), m_colours(colours) {}

  /// `style` is the number of a terminal's rendition: 1 bold, 2 faint, 31 red, 32 green, 33 yellow; 0 plain.
  std::string Styled(int style, const std::string& text) const {
    return m_colours && style != 0 ? "\x1b[" + std::to_string(style) + "m" + text + "\x1b[0m" : text;
  }

  void Add(int style, const std::string& text) { lines.push_back(Styled(style, ForTerminal(text, m_columns))); }

  /// `text` over as many lines as it needs, broken between words.
  void AddWrapped(int style, const std::string& text) {
    const size_t width = m_columns - (sizeof kIndent - 1);
    for (size_t start = 0; start < text.size();) {
      size_t length = std::min(width, text.size() - start);
      const size_t blank = text.rfind(' ', start + length);
      const bool breaks = start + length < text.size() && blank != std::string::npos && blank > start;
      if (breaks) length = blank - start;
      Add(style, kIndent + text.substr(start, length));
      start += length + (breaks ? 1 : 0);
    }
  }

  /// `text` in exactly that many columns, of which the last is blank.
  static std::string Cell(const std::string& text, size_t columns) {
    std::string cell = ForTerminal(text, columns - 1);
    const auto shown = std::count_if(cell.begin(), cell.end(), [](char byte) { return (byte & 0xC0) != 0x80; });
    return cell.append(columns - static_cast<size_t>(shown), ' ');
  }

  size_t Columns() const { return m_columns; }

  std::vector<std::string> lines;

 private:
  size_t m_columns;
  bool m_colours;
};

void AddItem(Screen& screen, const json& item) {
  const size_t fixed = sizeof kIndent - 1 + kKindColumns + kTypeColumns + kUseColumns;
  const size_t labelColumns = std::max<size_t>(screen.Columns() > fixed ? screen.Columns() - fixed : 0, 12);
  std::string uses;
  for (const auto& use : item.value("capabilities", json::array()))
    uses += (uses.empty() ? "" : " ") + use.get<std::string>();
  const std::string label = item[item["label"].is_string() ? "label" : "objectID"];
  screen.Add(0, kIndent + Screen::Cell(item["kind"], kKindColumns) + Screen::Cell(label, labelColumns) +
                    Screen::Cell(item.value("keyType", ""), kTypeColumns) + uses);
}

void AddReader(Screen& screen, const WatchedReader& reader) {
  using State = WatchedReader::State;
  const char* const names[] = {"empty", "reading", "card", "failed"};
  const int styles[] = {2, 33, 32, 31};
  const auto state = static_cast<size_t>(reader.state);
  const size_t columns = screen.Columns() - kStateColumns;
  screen.lines.push_back(screen.Styled(1, Screen::Cell(reader.name, columns)) +
                         screen.Styled(styles[state], names[state]));
  if (reader.state == State::Failed) screen.AddWrapped(31, reader.problem);
  if (reader.state != State::Token) return;
  const json& items = reader.token["items"];
  screen.Add(2, kIndent + reader.token["instanceID"].get<std::string>() + ", " + std::to_string(items.size()) +
                    (items.size() == 1 ? " item" : " items"));
  for (const json& item : items) AddItem(screen, item);
}

}  // namespace

std::vector<std::string> ScreenLines(const WatchState& state, const std::vector<std::string>& recent, TerminalSize size,
                                     bool colours) {
  Screen screen(size.columns, colours);
  screen.Add(1, "Readers and the tokens of their cards (q ends)");
  if (!state.serviceProblem.empty()) screen.AddWrapped(33, state.serviceProblem);
  for (const WatchedReader& reader : state.readers) {
    screen.Add(0, "");
    AddReader(screen, reader);
  }
  if (state.readers.empty()) screen.AddWrapped(0, "no reader; plug one in, or make a soft one with 'softcard init'");

  Screen footer(size.columns, colours);
  if (!recent.empty()) footer.Add(0, "");
  for (const std::string& event : recent) footer.Add(2, event);
  if (footer.lines.size() > size.rows / 2) footer.lines.clear();  // a small window is for the readers
  const size_t room = size.rows - footer.lines.size();
  if (screen.lines.size() > room) {
    const size_t hidden = screen.lines.size() - room + 1;
    screen.lines.resize(room - 1);
    screen.Add(33, "... " + std::to_string(hidden) + " more lines; make the window taller");
  }
  screen.lines.insert(screen.lines.end(), footer.lines.begin(), footer.lines.end());
  return screen.lines;
}

}  // namespace Host
