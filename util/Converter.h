#pragma once

#include <iconv.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/UniqueHandle.h"

namespace QELIconv {

/// One conversion of bytes by the platform's iconv, which tells what cannot be converted in one of two ways: it stops
/// there, or it writes a character of its own choice and only counts. Both look the same from here.
///
/// A converter that replaces is no judge of its own: once it has replaced a character, its state is that of the wrong
/// output, and when it stops later it has forgotten the count. So all is converted at one go first. Only when that was
/// not clean, one converter looks ahead, character by character, and a second one writes what the first let pass.
class Converter {
 public:
  /// The input that is left.
  struct Input {
    char* position;
    size_t count;
  };

  /// Takes the next bytes of the output.
  using Sink = std::function<void(const char* bytes, size_t count)>;

  /// Throws std::runtime_error when there is no converter for the encodings, here or below. An encoding to convert to
  /// with a suffix, such as "ASCII//TRANSLIT", lets the platform replace characters.
  Converter(std::string from, std::string to, size_t inputBytes);

  /// Converts all of `input`. Returns false when something in it may have to be replaced: what the sink has then been
  /// given is worth nothing. Throws std::runtime_error when the conversion breaks off for another reason.
  bool ConvertAll(Input input, const Sink& sink);

  /// Converts `input`, which begins where the last call and whoever replaced something left it, as far as possible.
  /// Returns true when all of it is converted, false when it begins now with what has to be replaced. Throws
  /// as ConvertAll does.
  bool ConvertSome(Input& input, const Sink& sink);

 private:
  struct IconvTraits {
    using Handle = iconv_t;
    /// What iconv_open returns when it fails.
    static Handle Invalid() { return reinterpret_cast<Handle>(-1); }
    /// Closes it.
    static void Close(Handle converter) { iconv_close(converter); }
  };
  using ScopedIconv = UniqueHandle<IconvTraits>;

  struct Outcome {
    int error;  // 0 when all of the input was converted, else the number of what stopped it
    bool replaced;
    size_t written;
  };

  /// Opens a converter and gives the sink what puts it into its initial state.
  ScopedIconv Open(const Sink& sink);
  /// Converts until the buffer is full.
  Outcome Fill(const ScopedIconv& converter, Input& input, const Sink& sink);
  /// The same as often as the buffer gets full.
  Outcome Exhaust(const ScopedIconv& converter, Input& input, const Sink& sink);
  /// Doubles a buffer that was too small for a single character. Returns false when it has its greatest size already.
  bool Grow();
  /// Moves behind the next character. Returns false when it cannot be converted; the input stays then.
  bool LookAhead(Input& input);
  /// What is thrown when the conversion breaks off.
  std::runtime_error BrokenOff(int error) const;
  std::string Between() const;

  std::string m_from;
  std::string m_to;
  std::vector<char> m_buffer;
  ScopedIconv m_ahead;
  ScopedIconv m_writer;
};

}  // namespace QELIconv
