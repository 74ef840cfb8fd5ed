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
  m_calls.push_back(Describe(call));
  m_names.push_back(call.name);
  return Answer(call);
}

void Card::Note(const std::string& line) {
  m_calls.push_back(line);
  m_names.push_back(line);
}

int Card::Count(const std::string& name) const {
  return static_cast<int>(std::count(m_names.begin(), m_names.end(), name));
}

void Card::ClearCalls() {
  m_calls.clear();
  m_names.clear();
}

}  // namespace TestCard
