/// Who answers what the shipped code imports: the rows of imports.txt, which is part of this program.

#pragma once

#include <map>
#include <string>
#include <vector>

namespace MachO {

class Imports {
 public:
  /// Reads the rows. Throws Unusable for a row that says nothing or a symbol with two rows.
  Imports();

  /// Where what the row of this import says lies. An empty library stands for any. Throws Unusable when there is no
  /// such row, or when who should answer does not.
  void* Resolve(const std::string& library, const std::string& symbol) const;

 private:
  struct Row {
    std::string library;
    std::string answerer;  ///< such as "libc", "libc:name" or "here:name"
  };
  std::map<std::string, Row> m_rows;
};

}  // namespace MachO
