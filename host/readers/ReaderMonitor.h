#pragma once

#include <vector>

#include "host/readers/PathNotices.h"
#include "host/readers/PcscReaders.h"

namespace Host {

/// All readers of this user, and when they change. Nothing is asked again while nothing changes.
class ReaderMonitor {
 public:
  /// Throws Failure when the system gives no notices of changes.
  ReaderMonitor();

  /// As Readers() in Readers.h gives them, from what was noticed; and whether the smart-card service answers.
  /// Throws Failure as Readers() does.
  ServiceReaders Readers();

  /// For who waits for other things as well: one of them is readable when a reader or card may have come or gone after
  /// the last Readers().
  std::vector<int> Descriptors() const { return {m_service.Descriptor(), m_softReaders.Descriptor()}; }

  /// Waits until a reader or card may have come or gone after the last Readers(), or until one of the descriptors
  /// `also` can be read from, or until a signal comes.
  void Wait(const std::vector<int>& also = {});

 private:
  PcscMonitor m_service;
  PathNotices m_softReaders;
};

}  // namespace Host
