#include <signal.h>

#include <map>

#include "host/base/Words.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/Listing.h"
#include "host/commands/WatchView.h"
#include "host/keys/ListedItems.h"
#include "host/keys/Service.h"
#include "host/readers/ReaderMonitor.h"
#include "host/terminal/Signals.h"

namespace Host {
namespace {

using State = WatchedReader::State;

/// Holds the token of each card from its insertion to its removal, as the smart-card service does.
class Watcher {
 public:
  Watcher(const Options& options, WatchView& view, int stop)
      : m_only(options.reader), m_process(MakeProcess(options)), m_view(view) {
    m_process.GiveUpAt(stop);
  }

  void Follow(const ServiceReaders& found) {
    FollowService(found.problem);
    std::map<std::string, Reader> present;
    for (const Reader& reader : found.readers)
      if (m_only.empty() || reader.name == m_only) present[reader.name] = reader;
    EndWhatIsGone(present);
    m_state.readers.clear();
    for (const Reader& reader : found.readers)
      if (present.count(reader.name) != 0) m_state.readers.push_back(Follow(reader));
    m_view.Show(m_state);
    for (WatchedReader& reader : m_state.readers) {
      if (reader.state != State::Reading) continue;
      Read(reader);
      m_view.Show(m_state);
    }
  }

  /// Ends all tokens.
  void End() {
    for (auto& [name, followed] : m_followed) EndToken(followed);
  }

 private:
  /// A reader as it was followed last.
  struct Followed {
    unsigned long insertion = 0;  ///< of the card in it; 0 without one
    WatchedReader shown;
    std::unique_ptr<CardToken> token;
  };

  static unsigned long InsertionOf(const Reader& reader) { return reader.hasCard ? reader.insertions : 0; }

  void FollowService(const std::string& problem) {
    if (problem == m_state.serviceProblem) return;
    m_state.serviceProblem = problem;
    const bool answers = problem.empty();
    m_view.Tell({"service " + (answers ? "answers" : problem),
                 {{"event", "service"}, {"answers", answers}, {"message", problem}}});
  }

  void EndWhatIsGone(const std::map<std::string, Reader>& present) {
    for (auto followed = m_followed.begin(); followed != m_followed.end();) {
      const auto now = present.find(followed->first);
      const bool unplugged = now == present.end();
      if (unplugged || InsertionOf(now->second) != followed->second.insertion) EndToken(followed->second);
      if (unplugged) TellOfReader(followed->first, "gone");
      followed = unplugged ? m_followed.erase(followed) : std::next(followed);
    }
  }

  WatchedReader Follow(const Reader& reader) {
    const bool isNew = m_followed.count(reader.name) == 0;
    Followed& followed = m_followed[reader.name];
    const unsigned long insertion = InsertionOf(reader);
    if (!isNew && insertion == followed.insertion) return followed.shown;
    followed.insertion = insertion;
    followed.shown = {reader.name, reader.hasCard ? State::Reading : State::Empty, "", {}, ""};
    TellOfReader(reader.name, reader.hasCard ? "card" : "empty");
    return followed.shown;
  }

  void Read(WatchedReader& reader) {
    Followed& followed = m_followed[reader.name];
    try {
      followed.token = std::make_unique<CardToken>(m_process, reader.name);
      const CardToken& token = *followed.token;
      reader.state = State::Token;
      reader.instanceID = token.InstanceID();
      const std::vector<Wire::Item> items = ListedItems(token);
      reader.items = RowsOf(items);
      m_view.Tell({"token " + token.InstanceID() + " of " + Counted(items.size(), "item") + " in " + reader.name,
                   {{"event", "token"}, {"token", TokenJson(reader.name, token.InstanceID(), items)}}});
    } catch (const Failure& failure) {
      reader.state = State::Failed;
      reader.problem = failure.what();
      TellOfFailure(reader.name, failure);
    }
    followed.shown = reader;
  }

  void EndToken(Followed& followed) {
    const std::unique_ptr<CardToken> token = std::move(followed.token);
    if (!token) return;
    try {
      token->Terminate();
      m_view.Tell({"ended " + token->InstanceID(),
                   {{"event", "ended"}, {"reader", token->Reader()}, {"instanceID", token->InstanceID()}}});
    } catch (const Failure& failure) {
      TellOfFailure(token->Reader(), failure);
    }
  }

  void TellOfReader(const std::string& name, const char* state) {
    m_view.Tell({"reader " + name + ": " + state, {{"event", "reader"}, {"reader", name}, {"state", state}}});
  }

  void TellOfFailure(const std::string& reader, const Failure& failure) {
    m_view.Tell({std::string("failed: ") + failure.what(),
                 {{"event", "failed"}, {"reader", reader}, {"message", failure.what()}}});
  }

  std::string m_only;
  ExtensionProcess m_process;
  WatchView& m_view;
  WatchState m_state;
  std::map<std::string, Followed> m_followed;
};

void Watch(const Options& options) {
  const int stop = SignalDescriptor({SIGINT, SIGTERM, SIGHUP}), resized = SignalDescriptor({SIGWINCH});
  ReaderMonitor monitor;
  // What a verbose command tells on standard error would spoil the screen.
  const std::unique_ptr<WatchView> view =
      CanRedraw(STDOUT_FILENO) && !options.json && !options.verbose ? MakeScreenView() : MakeLineView(options.json);
  view->Tell({"watching", {{"event", "watching"}}});
  Watcher watcher(options, *view, stop);
  while (true) {
    watcher.Follow(monitor.Readers());
    monitor.Wait({stop, resized, view->Keys()});
    SignalCame(resized);
    if (SignalCame(stop) || view->Ends()) break;
  }
  watcher.End();
}

}  // namespace

void AddWatch(CLI::App& app, const Options& options) {
  AddCommand(app, "watch", "Show readers, tokens and items live (q ends)", "",
             "  ctkhost watch                      on a terminal, redrawn in place\n"
             "  ctkhost --json watch | my-program  an event per line\n")
      ->callback([&options] { Watch(options); });
}

}  // namespace Host
