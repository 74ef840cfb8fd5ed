#pragma once

#include "tests/support/card/FakeCard.h"

/// The card of the probe: one empty slot on the reader "Example Reader 0". Writes the calls by which libraries, slots
/// and sessions come and go.
class ProbeCard : public TestCard::FakeCard {
 public:
  ProbeCard();

 protected:
  CK_RV Answer(TestCard::Call& call) override;
  void OnFault(TestCard::Call& call) override;
};
