#include "host/terminal/TerminalText.h"

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

std::vector<Shown> ShownCharactersOf(const std::string& text) {
  std::vector<Shown> characters;
  VisitCharacters(text, [&](const Character& character) {
    characters.push_back(character.isHarmless ? Shown{std::string(character.bytes), character.columns} : Shown{"?", 1});
  });
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

void VisitCharacters(std::string_view text, const std::function<void(const Character&)>& visit) {
  const ReadingUtf8 reading;
  const char* const end = text.data() + text.size();
  std::mbstate_t state = {};
  for (const char* at = text.data(); at < end;) {
    wchar_t code = 0;
    const size_t length = std::mbrtowc(&code, at, static_cast<size_t>(end - at), &state);
    const bool isUtf8 = length > 0 && length <= static_cast<size_t>(end - at);
    if (!isUtf8) state = {};
    const int columns = isUtf8 && !TurnsDirection(code) ? wcwidth(code) : -1;
    const size_t bytes = isUtf8 ? length : 1;
    visit({{at, bytes},
           isUtf8 ? static_cast<char32_t>(code) : 0,
           columns >= 0,
           static_cast<size_t>(std::max(columns, 0))});
    at += bytes;
  }
}

std::string LinesForTerminal(const std::string& text) {
  std::string shown;
  VisitCharacters(text, [&](const Character& character) {
    const bool isShown = character.isHarmless || character.code == '\n';
    shown += isShown ? character.bytes : character.code == '\t' ? " " : "?";
  });
  return shown;
}

size_t ColumnsOf(const std::string& text) {
  return ColumnsOf(ShownCharactersOf(text));
}

std::string ForTerminal(const std::string& text, size_t columns) {
  const std::vector<Shown> characters = ShownCharactersOf(text);
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

std::vector<std::string> Folded(const std::string& text, size_t columns) {
  std::vector<std::string> lines = {""};
  size_t used = 0;
  std::vector<Shown> word;
  const auto breakLine = [&] {
    lines.emplace_back();
    used = 0;
  };
  const auto place = [&] {
    if (used > 0 && used + 1 + ColumnsOf(word) > columns) {
      breakLine();
    } else if (used > 0) {
      lines.back() += " ";
      ++used;
    }
    for (const Shown& character : word) {
      if (used > 0 && used + character.columns > columns) breakLine();
      lines.back() += character.bytes;
      used += character.columns;
    }
    word.clear();
  };
  for (Shown& character : ShownCharactersOf(text)) {
    if (character.bytes == " ") {
      place();
    } else {
      word.push_back(std::move(character));
    }
  }
  place();
  return lines;
}

std::string Page::Styled(Style style, const std::string& text) const {
  if (!colours || style == Style::Plain) return text;
  return "\x1b[" + std::to_string(static_cast<int>(style)) + "m" + text + "\x1b[0m";
}

}  // namespace Host
