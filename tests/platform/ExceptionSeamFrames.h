#pragma once

#include <functional>

/// Exceptions of both languages, and frames of .mm and .m files that they pass. Plain C++, for files that catch.
namespace Seam {

struct Failure {
  int code;
};

void ThrowFailure(int code);
void RaiseNSException();

/// Each runs `body` below a frame of a .mm file that owns an object with a destructor, which sets `*destroyed`.
void RunBelowMixedFrame(const std::function<void()>& body, bool* destroyed);

/// Runs `body` below Foundation's frames: performSelector: and the sorting of an array.
void RunBelowFoundation(const std::function<void()>& body);

/// True when `body` raised an NSException. The handler stands in a .m file.
bool RaisesNSException(const std::function<void()>& body);

/// True when `body` raised an NSException. The handler stands in a .mm file, as `@catch`.
bool RaisesNSExceptionInMixedFile(const std::function<void()>& body);

/// Runs `body` below a C++ handler for Failure, in a .cc file, and says whether it caught one.
bool CatchesFailure(const std::function<void()>& body);

}  // namespace Seam
