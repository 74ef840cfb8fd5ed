#pragma once

#include "tests/support/card/Card.h"

namespace TestCard {

/// Passes every call on to a real library's function list, which the caller keeps loaded.
class ForwardingCard : public Card {
 public:
  explicit ForwardingCard(CK_FUNCTION_LIST* library) : m_library(library) {}

 protected:
  CK_RV Answer(Call& call) override;

 private:
  CK_FUNCTION_LIST* m_library;
};

}  // namespace TestCard
