#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/commands/ItemTable.h"
#include "host/terminal/Terminal.h"

namespace Host {

/// A change, for people and for programs.
struct WatchEvent {
  std::string line;
  nlohmann::json described;
};

/// One reader as the watch shows it.
struct WatchedReader {
  enum class State { Empty, Reading, Token, Failed };

  std::string name;
  State state = State::Empty;
  std::string instanceID;      ///< of the token
  std::vector<ItemRow> items;  ///< of the token
  std::string problem;         ///< why the card gives no token
};

struct WatchState {
  std::vector<WatchedReader> readers;
  std::string serviceProblem;  ///< why the smart-card service gives no readers; empty when it answers
};

/// Shows a watch to the user or to a program.
class WatchView {
 public:
  virtual ~WatchView() = default;
  virtual void Tell(const WatchEvent& event) = 0;
  virtual void Show(const WatchState& state) = 0;
  /// Readable when the user typed or has gone; -1 when this view cannot tell.
  virtual int Keys() const { return -1; }
  /// Whether the user has asked for the end or has gone.
  virtual bool Ends() { return false; }
};

/// A line for each event, as text or JSON.
std::unique_ptr<WatchView> MakeLineView(bool json);
/// The state, redrawn in place.
std::unique_ptr<WatchView> MakeScreenView();

/// What a screen of that size shows; `recent` are the last events, oldest first. `first` is the line of the readers and
/// items that stands at the top of those that do not all fit; it is made smaller when there are not as many.
std::vector<std::string> ScreenLines(const WatchState& state, const std::vector<std::string>& recent, TerminalSize size,
                                     bool colours, size_t* first);

/// How many lines down, or up where it is negative, the keys in `typed` scroll; `page` is what a whole page is.
long ScrolledBy(const std::string& typed, long page);

}  // namespace Host
