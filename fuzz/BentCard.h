#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include "tests/support/card/FakeCard.h"

/// A card whose contents and answers the input bends: return values, lengths, counts, handles, bytes. When the input is
/// used up it answers as FakeCard does.
class BentCard : public TestCard::FakeCard {
 public:
  explicit BentCard(FuzzedDataProvider& input);

  /// Whether every session that was opened was closed once, and every search ended once.
  bool IsBalanced() const { return m_opened == m_closed && m_begun == m_ended; }

 protected:
  CK_RV Answer(TestCard::Call& call) override;

 private:
  CK_RV Bend(TestCard::Call& call);
  CK_RV AnyReturnValue();
  CK_ULONG AnyLength(CK_ULONG proper);
  void Overwrite(void* bytes, size_t size);

  FuzzedDataProvider& m_input;
  int m_opened = 0, m_closed = 0, m_begun = 0, m_ended = 0;
};
