#include "tests/support/card/Card.h"

#include <algorithm>

namespace TestCard {
namespace {

Card* s_current = nullptr;

}  // namespace

Card* CurrentCard() {
  return s_current;
}

Card::Card() : m_previous(s_current) {
  s_current = this;
}

Card::~Card() {
  s_current = m_previous;
}

CK_RV Card::Handle(Call& call) {
  const std::string line = Describe(call);
  m_calls.push_back(line);
  m_names.push_back(call.name);
  CK_RV rv = InjectedFault(call.name);
  if (rv != CKR_OK) {
    OnFault(call);
  } else {
    rv = Answer(call);
  }
  m_trace.push_back(rv == CKR_OK ? line : line + " -> " + Hex(rv));
  if (m_listener) m_listener(m_trace.back());
  return rv;
}

void Card::Fail(const std::string& call, CK_RV rv, int occurrence) {
  m_faults.push_back({call, rv, occurrence});
}

CK_RV Card::InjectedFault(const std::string& call) {
  for (Fault& fault : m_faults) {
    if (fault.call != call) continue;
    if (fault.countdown == 0) return fault.rv;
    if (--fault.countdown == 0) {
      fault.call.clear();  // used up
      return fault.rv;
    }
  }
  return CKR_OK;
}

void Card::Note(const std::string& line) {
  m_calls.push_back(line);
  m_names.push_back(line);
  m_trace.push_back(line);
}

int Card::Count(const std::string& name) const {
  return static_cast<int>(std::count(m_names.begin(), m_names.end(), name));
}

void Card::ClearCalls() {
  m_calls.clear();
  m_names.clear();
  m_trace.clear();
}

}  // namespace TestCard
