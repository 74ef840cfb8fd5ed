/// Text for a terminal: how many columns it takes, and nothing in it that would steer the terminal.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// A character of a text in UTF-8, or a byte that is none.
struct Character {
  std::string_view bytes;
  char32_t code;    ///< 0 for a byte that is no UTF-8
  bool isHarmless;  ///< it neither controls a terminal nor turns the direction of writing, and it is UTF-8
  size_t columns;   ///< that a terminal gives to it; 0 for what is not harmless
};

/// Calls `visit` for each character of `text`, in their order. `bytes` are those of `text`.
void VisitCharacters(std::string_view text, const std::function<void(const Character&)>& visit);

/// Whole lines of `text`, in which '?' stands for what is not harmless, and a blank for a tab. The one way in which
/// text of a card, a library or a log comes to a terminal or a file as lines.
std::string LinesForTerminal(const std::string& text);

/// The columns that a terminal gives to `text`, which is UTF-8: two for a character of double width, none for one that
/// joins the character before it.
size_t ColumnsOf(const std::string& text);

/// `text`, cut to `columns` columns with "..." at its end when it is longer. Shown as '?': what would control the
/// terminal or turn the direction of writing, and bytes that are not UTF-8.
std::string ForTerminal(const std::string& text, size_t columns);

/// The same, filled with blanks to exactly that many columns.
std::string Cell(const std::string& text, size_t columns);

/// `text` in lines of at most `columns` columns, broken between words but not inside 'what is quoted', which may be a
/// command to copy; what is longer than a line stands in one of its own.
std::vector<std::string> Wrapped(const std::string& text, size_t columns);

/// `text`, made safe as by ForTerminal, in lines of at most `columns` columns: broken between words, and inside one
/// only where it is longer than a line. Nothing is left out but the blanks at which lines break. At least one line.
std::vector<std::string> Folded(const std::string& text, size_t columns);

/// How text stands out where colours are wanted: the numbers of a terminal's renditions.
enum class Style { Plain = 0, Bold = 1, Faint = 2, Red = 31, Green = 32, Yellow = 33 };

/// What text is laid out for: a file, whose lines may be of any length, unless it is known better.
struct Page {
  static constexpr size_t kAnyColumns = 1000000;

  size_t columns = kAnyColumns;
  bool colours = false;

  /// `text` in that style when this page has colours.
  std::string Styled(Style style, const std::string& text) const;
};

}  // namespace Host
