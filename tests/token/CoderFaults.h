#pragma once

/// Counts the platform's ASN.1 coders while it lives, and makes them refuse. One at a time; the test program is linked
/// so that the product's calls come here first.
class CoderFaults {
 public:
  CoderFaults();
  ~CoderFaults();
  CoderFaults(const CoderFaults&) = delete;
  CoderFaults& operator=(const CoderFaults&) = delete;

  void RefuseToCreate();
  void RefuseToEncode();
  int Created() const;
  int Released() const;
  int AskedToEncode() const;
};
