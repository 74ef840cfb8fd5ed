#include "host/commands/ItemTable.h"

#include <algorithm>
#include <iterator>

#include "host/keys/CertificateFacts.h"
#include "host/keys/ItemNames.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

using Wire::Item;

struct Column {
  const char* heading;
  std::string ItemRow::*text;
};

constexpr Column kColumns[] = {
    {"KIND", &ItemRow::kind}, {"ID", &ItemRow::id},   {"LABEL", &ItemRow::label},
    {"TYPE", &ItemRow::type}, {"CAN", &ItemRow::can}, {"PIN", &ItemRow::pin},
};
constexpr size_t kLabel = 2;                // the one that gives way
constexpr size_t kGap = 2;                  // between two columns
constexpr size_t kFewestLabelColumns = 16;  // for a label that is as long, beside other columns
constexpr char kIndent[] = "  ";

std::string SafeForTerminal(const std::string& text) {
  return ForTerminal(text, std::string::npos);
}

/// Whether using the key needs a login. A constraint is true where nothing is asked, false where nothing helps.
std::string PinText(const Item& key) {
  for (const auto& [operation, constraint] : key.constraints)
    if (constraint != true) return constraint == false ? "-" : "yes";
  return "no";
}

/// The widths of columns beside each other; none when there is no room for that.
std::vector<size_t> Widths(const std::vector<ItemRow>& rows, size_t columns) {
  std::vector<size_t> widths;
  size_t others = kGap * (std::size(kColumns) - 1);
  for (const Column& column : kColumns) {
    size_t width = ColumnsOf(column.heading);
    for (const ItemRow& row : rows) width = std::max(width, ColumnsOf(row.*column.text));
    widths.push_back(width);
    others += width;
  }
  size_t& label = widths[kLabel];
  others -= label;
  if (others + std::min(label, kFewestLabelColumns) > columns) return {};
  label = std::min(label, columns - others);
  return widths;
}

std::string Line(const std::vector<size_t>& widths, const std::vector<std::string>& texts) {
  std::string line;
  for (size_t i = 0; i + 1 < texts.size(); ++i) line += Cell(texts[i], widths[i]) + std::string(kGap, ' ');
  line += texts.back();
  return line.erase(line.find_last_not_of(' ') + 1);
}

std::vector<std::string> TextsOf(const ItemRow& row) {
  std::vector<std::string> texts;
  for (const Column& column : kColumns) texts.push_back(row.*column.text);
  return texts;
}

/// A row of the table, whose label may need more lines than one; with nothing beside it, it has the rest of the line.
void AddBeside(std::vector<size_t> widths, size_t columns, const ItemRow& row, std::vector<std::string>* lines) {
  std::vector<std::string> texts = TextsOf(row);
  if ((row.type + row.can + row.pin).empty()) {
    texts.resize(kLabel + 1);
    widths[kLabel] = columns - widths[0] - widths[1] - 2 * kGap;
  }
  for (const std::string& label : Folded(row.label, widths[kLabel])) {
    texts[kLabel] = label;
    lines->push_back(Line(widths, texts));
    texts.assign(texts.size(), "");
  }
}

/// The parts of an item below each other.
void AddBelow(size_t columns, const ItemRow& row, std::vector<std::string>* lines) {
  const size_t indent = std::min(sizeof kIndent - 1, columns - 1);
  for (std::string& line : Folded(row.kind + " " + row.id, columns)) lines->push_back(std::move(line));
  std::string use = row.type;
  for (const std::string& more : {row.can, row.pin.empty() ? "" : "PIN " + row.pin})
    if (!more.empty()) use += "; " + more;
  for (const std::string& part : {row.label, use})
    for (const std::string& line : Folded(part, columns - indent))
      if (!line.empty()) lines->push_back(std::string(indent, ' ') + line);
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

}  // namespace

ItemRow RowOf(const Item& item) {
  ItemRow row = {"cert", SafeForTerminal(item.objectID), SafeForTerminal(item.label.value_or("(none)")), "", "", ""};
  if (item.kind == Item::Kind::Certificate) {
    const auto facts = FactsOf(item.certificate);
    if (facts && facts->validity != kValidNow) row.type = facts->validity;
    return row;
  }
  row.kind = "key";
  row.type = SafeForTerminal(KeyTypeName(item));
  row.can = Joined(CapabilitiesOf(item));
  row.pin = PinText(item);
  return row;
}

std::vector<ItemRow> RowsOf(const std::vector<Item>& items) {
  std::vector<ItemRow> rows;
  std::transform(items.begin(), items.end(), std::back_inserter(rows), RowOf);
  return rows;
}

ItemTable LayOut(const std::vector<ItemRow>& rows, size_t columns) {
  const std::vector<size_t> widths = Widths(rows, columns);
  ItemTable table;
  if (widths.empty()) {
    for (const ItemRow& row : rows) AddBelow(columns, row, &table.lines);
    return table;
  }
  std::vector<std::string> headings;
  for (const Column& column : kColumns) headings.emplace_back(column.heading);
  table.heading = Line(widths, headings);
  for (const ItemRow& row : rows) AddBeside(widths, columns, row, &table.lines);
  return table;
}

}  // namespace Host
