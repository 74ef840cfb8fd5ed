/// Text for a terminal: how many columns it takes, and nothing in it that would steer the terminal.

#pragma once

#include <string>
#include <vector>

namespace Host {

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

/// How text stands out where colours are wanted: the numbers of a terminal's renditions.
enum class Style { Plain = 0, Bold = 1, Faint = 2, Red = 31, Green = 32, Yellow = 33 };

/// What text is laid out for: a file and 80 columns, unless it is known better.
struct Page {
  size_t columns = 80;
  bool colours = false;

  /// `text` in that style when this page has colours.
  std::string Styled(Style style, const std::string& text) const;
};

}  // namespace Host
