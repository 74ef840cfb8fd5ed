#ifndef SOFTCARD_PININPUT_H
#define SOFTCARD_PININPUT_H

#include <string>

namespace SoftCard {

/// A PIN on its way in, of which there is no other copy; cleared at the end of its scope.
class Pin {
 public:
  /// The first line of `file`, of standard input when that is "-"; asked for on the terminal, without echo and with
  /// `prompt`, when it is empty. `repeat` asks twice. Throws std::runtime_error when there is none.
  Pin(const std::string& file, const char* prompt, bool repeat);
  ~Pin();
  Pin(const Pin&) = delete;
  Pin& operator=(const Pin&) = delete;

  const std::string& Text() const { return m_text; }

 private:
  std::string m_text;
};

}  // namespace SoftCard

#endif
