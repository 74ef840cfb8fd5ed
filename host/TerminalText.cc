#include "host/TerminalText.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace Host {
namespace {

constexpr char kCut[] = "...";
constexpr size_t kCutColumns = 3;

/// Makes this thread read text as UTF-8, whatever the user's locale is.
class ReadingUtf8 {
 public:
  ReadingUtf8() {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (utf8) m_before = uselocale(utf8);
  }
  ~ReadingUtf8() {
    if (m_before) uselocale(m_before);
  }
  ReadingUtf8(const ReadingUtf8&) = delete;
  ReadingUtf8& operator=(const ReadingUtf8&) = delete;

 private:
  locale_t m_before = nullptr;
};

/// Marks that turn the direction of writing: with them a label could show itself as another.
bool TurnsDirection(wchar_t character) {
  return character == 0x061C || character == 0x200E || character == 0x200F ||
         (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

/// A character as it may be shown.
struct Shown {
  std::string bytes;
  size_t columns;
};

std::vector<Shown> CharactersOf(const std::string& text) {
  const ReadingUtf8 reading;
  std::vector<Shown> characters;
  const char* const end = text.data() + text.size();
  std::mbstate_t state = {};
  for (const char* at = text.data(); at < end;) {
    wchar_t character = 0;
    const size_t length = std::mbrtowc(&character, at, static_cast<size_t>(end - at), &state);
    const bool isUtf8 = length > 0 && length <= static_cast<size_t>(end - at);
    if (!isUtf8) state = {};
    const int columns = isUtf8 && !TurnsDirection(character) ? wcwidth(character) : -1;
    const size_t bytes = isUtf8 ? length : 1;
    characters.push_back(columns < 0 ? Shown{"?", 1} : Shown{{at, bytes}, static_cast<size_t>(columns)});
    at += bytes;
  }
  return characters;
}

size_t ColumnsOf(const std::vector<Shown>& characters) {
  size_t columns = 0;
  for (const Shown& character : characters) columns += character.columns;
  return columns;
}

/// Where the word ends that starts there.
size_t EndOfWord(const std::string& text, size_t start) {
  const size_t quote = text[start] == '\'' ? text.find('\'', start + 1) : start;
  return std::min(text.find(' ', quote == std::string::npos ? start : quote), text.size());
}

}  // namespace

size_t ColumnsOf(const std::string& text) {
  return ColumnsOf(CharactersOf(text));
}

std::string ForTerminal(const std::string& text, size_t columns) {
  const std::vector<Shown> characters = CharactersOf(text);
  const bool cut = ColumnsOf(characters) > columns;
  const size_t room = cut ? columns - std::min(columns, kCutColumns) : columns;
  std::string shown;
  size_t used = 0;
  for (const Shown& character : characters) {
    used += character.columns;
    if (used > room) break;
    shown += character.bytes;
  }
  return cut ? shown + std::string(kCut, std::min(columns, kCutColumns)) : shown;
}

std::string Cell(const std::string& text, size_t columns) {
  const std::string shown = ForTerminal(text, columns);
  return shown + std::string(columns - std::min(columns, ColumnsOf(shown)), ' ');
}

std::vector<std::string> Wrapped(const std::string& text, size_t columns) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = EndOfWord(text, start);
    const std::string word = text.substr(start, end - start);
    const bool fits = !lines.empty() && ColumnsOf(lines.back()) + 1 + ColumnsOf(word) <= columns;
    if (fits) {
      lines.back() += " " + word;
    } else {
      lines.push_back(word);
    }
    start = end + 1;
  }
  return lines;
}

std::string Page::Styled(Style style, const std::string& text) const {
  if (!colours || style == Style::Plain) return text;
  return "\x1b[" + std::to_string(static_cast<int>(style)) + "m" + text + "\x1b[0m";
}

}  // namespace Host
