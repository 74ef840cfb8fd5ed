#pragma once

#include <chrono>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// One call of the PKCS#11 library, as the soft card's trace has it.
struct LibraryCall {
  std::string name;    ///< "C_Sign"
  std::string result;  ///< "CKR_OK"
  double milliseconds = 0;
};

/// Parses a line of the trace. A line that is none gives a call without a name.
LibraryCall LibraryCallFrom(std::string_view traceLine);

/// Where the time of one request went, in milliseconds. The extension's share holds what the soft card's trace takes to
/// write its lines, some hundredths of a millisecond for each call.
struct RequestTime {
  std::string request;  ///< "signData"
  double total = 0;     ///< from the host's request to its answer
  double extension =
      0;  ///< from the request's arrival in the extension to the answer's departure, the library included
  std::vector<LibraryCall> calls;

  double Library() const;
  double OfExtension() const { return extension - Library(); }
  double OfApplication() const { return total - extension; }
};

/// A table of at most 80 columns; equal calls in a row are one line.
std::string TimingText(const RequestTime& time);
/// The line below the tables of all requests.
std::string TimingTotal(size_t requests, double milliseconds);
/// One line, for programs.
std::string TimingJson(const RequestTime& time);

/// The calls that the PKCS#11 library of the extension receives, from a private file that only lives as long as this.
/// The extension's processes that start from now on write it; a library that cannot writes none.
class LibraryTrace {
 public:
  /// Throws Failure when the file cannot be made.
  LibraryTrace();
  ~LibraryTrace();
  LibraryTrace(const LibraryTrace&) = delete;
  LibraryTrace& operator=(const LibraryTrace&) = delete;

  /// The calls since the last time.
  std::vector<LibraryCall> NewCalls();

 private:
  std::string m_path;
  std::ifstream m_file;
};

}  // namespace Host
