#include "host/ItemTable.h"

#include <algorithm>
#include <iterator>

#include "host/TerminalText.h"

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
constexpr size_t kFewest = kLabel + 1;      // columns that are never left out
constexpr size_t kGap = 2;                  // between two columns
constexpr size_t kFewestLabelColumns = 12;  // before other columns are left out, if the labels are that long

std::string SafeForTerminal(const std::string& text) {
  return ForTerminal(text, std::string::npos);
}

/// Whether using the key needs a login. A constraint is true where nothing is asked, false where nothing helps.
std::string PinText(const Item& key) {
  for (const auto& [operation, constraint] : key.constraints)
    if (constraint != true) return constraint == false ? "-" : "yes";
  return "no";
}

size_t Sum(const std::vector<size_t>& widths, size_t shown) {
  size_t sum = kGap * (shown - 1);
  for (size_t i = 0; i < shown; ++i) sum += widths[i];
  return sum;
}

/// The widths of the columns that are shown.
std::vector<size_t> Widths(const std::vector<ItemRow>& rows, size_t columns) {
  std::vector<size_t> widths;
  for (const Column& column : kColumns) {
    size_t width = ColumnsOf(column.heading);
    for (const ItemRow& row : rows) width = std::max(width, ColumnsOf(row.*column.text));
    widths.push_back(width);
  }
  const size_t wanted = widths[kLabel];
  widths[kLabel] = std::min(wanted, kFewestLabelColumns);
  while (widths.size() > kFewest && Sum(widths, widths.size()) > columns) widths.pop_back();
  const size_t used = Sum(widths, widths.size());
  widths[kLabel] = used > columns ? widths[kLabel] - std::min(used - columns, widths[kLabel] - 1)
                                  : std::min(wanted, widths[kLabel] + columns - used);
  return widths;
}

/// The last text that is not empty may use the rest of the line.
std::string Line(const std::vector<size_t>& widths, size_t columns, std::vector<std::string> texts) {
  while (!texts.empty() && texts.back().empty()) texts.pop_back();
  std::string line;
  size_t used = 0;
  for (size_t i = 0; i < texts.size(); ++i) {
    const bool isLast = i + 1 == texts.size();
    line += Cell(texts[i], isLast ? std::max(widths[i], columns - std::min(columns, used)) : widths[i]);
    line += std::string(kGap, ' ');
    used += widths[i] + kGap;
  }
  return line.erase(line.find_last_not_of(' ') + 1);
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

}  // namespace

std::string KeyTypeName(const Item& key) {
  const std::string type = key.keyType == "42" ? "RSA" : key.keyType == "73" ? "EC P" : key.keyType;
  return type + "-" + std::to_string(key.keySizeInBits);
}

std::vector<std::string> CapabilitiesOf(const Item& key) {
  std::vector<std::string> names;
  if (key.canSign) names.emplace_back("sign");
  if (key.canDecrypt) names.emplace_back("decrypt");
  if (key.canPerformKeyExchange) names.emplace_back("agree");
  if (key.suitableForLogin) names.emplace_back("login");
  return names;
}

ItemRow RowOf(const Item& item) {
  ItemRow row = {"cert", SafeForTerminal(item.objectID), SafeForTerminal(item.label.value_or("(none)")), "", "", ""};
  if (item.kind != Item::Kind::Key) return row;
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
  const auto line = [&](const auto& textOf) {
    std::vector<std::string> texts;
    std::transform(std::begin(kColumns), std::begin(kColumns) + widths.size(), std::back_inserter(texts), textOf);
    return Line(widths, columns, texts);
  };
  table.heading = line([](const Column& column) { return column.heading; });
  for (const ItemRow& row : rows) table.lines.push_back(line([&](const Column& column) { return row.*column.text; }));
  for (size_t i = widths.size(); i < std::size(kColumns); ++i)
    table.hidden += (table.hidden.empty() ? "" : ", ") + std::string(kColumns[i].heading);
  return table;
}

}  // namespace Host
