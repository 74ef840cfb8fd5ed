#pragma once

/// The program's iconv functions forward to the system's and are watched here.
namespace IconvSpy {

/// Number of converters that are open now.
int OpenConverters();

/// Number of times that a converter was put into its initial state before anything was converted with it.
int FreshStarts();

/// Makes every conversion step of this thread fail with an error number for the lifetime of the object; the step that
/// puts a converter into its initial state still works.
class Failing {
 public:
  explicit Failing(int error);
  ~Failing();
  Failing(const Failing&) = delete;
  Failing& operator=(const Failing&) = delete;
};

/// Lets the converters that this thread opens during the lifetime of the object replace what their target lacks by a
/// question mark and count it, as some systems' do, instead of stopping there. A converter that stops for another
/// reason has forgotten its count, as POSIX allows.
class Replacing {
 public:
  Replacing();
  ~Replacing();
  Replacing(const Replacing&) = delete;
  Replacing& operator=(const Replacing&) = delete;

  /// Number of question marks that were written.
  int Count() const;
};

}  // namespace IconvSpy
