#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/support/card/Call.h"

namespace TestCard {

/// What answers the calls of the test module. Every call is recorded before it is answered.
class Card {
 public:
  /// Puts this card behind the test module until it is destroyed. One card at a time.
  Card();
  virtual ~Card();
  Card(const Card&) = delete;
  Card& operator=(const Card&) = delete;

  /// Records and answers one call.
  CK_RV Handle(Call& call);

  /// Adds a line of something that happened between the calls, and is none.
  void Note(const std::string& line);

  /// Every call so far, in order, as trace lines without results.
  const std::vector<std::string>& Calls() const { return m_calls; }

  /// The names alone.
  const std::vector<std::string>& Names() const { return m_names; }

  /// How often the call was made.
  int Count(const std::string& name) const;

  /// The lines of Calls(), each with its result behind it unless that is CKR_OK.
  const std::vector<std::string>& Trace() const { return m_trace; }

  /// Makes the `occurrence`-th call of that name from now on answer `rv`; 0 means every one.
  void Fail(const std::string& call, CK_RV rv, int occurrence = 1);

  /// Hands each line of Trace() to `listener` when it is there, before the call returns.
  void Tell(std::function<void(const std::string& line)> listener) { m_listener = std::move(listener); }

  /// Forgets what was recorded.
  void ClearCalls();

 protected:
  virtual CK_RV Answer(Call& call) = 0;

  /// Told of a call that Fail() answered instead.
  virtual void OnFault(Call&) {}

 private:
  struct Fault {
    std::string call;
    CK_RV rv;
    int countdown;  // 0: every time
  };

  CK_RV InjectedFault(const std::string& call);

  Card* m_previous;
  std::vector<std::string> m_calls;
  std::vector<std::string> m_names;
  std::vector<std::string> m_trace;
  std::vector<Fault> m_faults;
  std::function<void(const std::string&)> m_listener;
};

/// The card in force; null when there is none, and every call then answers CKR_GENERAL_ERROR.
Card* CurrentCard();

/// The function list whose every function asks the card in force. Functions that the product does not use answer
/// CKR_FUNCTION_NOT_SUPPORTED, and are recorded as "unexpected call".
CK_FUNCTION_LIST* FunctionList();

/// The vendor function of the module, asking the card in force.
CK_RV GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType);

}  // namespace TestCard
