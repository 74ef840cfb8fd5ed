#pragma once

/// A named logger of a log provider; opaque, the size of a pointer.
using HLOGGER = void*;

/// What a log provider offers. Texts are wide and end with NUL. The order of the functions is part of the contract.
struct QEL_LogInterface {
  /// Makes a logger and stores it through `logger`; the caller owns it. Returns 1, or 0 when that failed.
  int (*create)(const wchar_t* name, HLOGGER* logger);
  /// Frees a logger.
  void (*destroy)(HLOGGER logger);

  // Whether the logger writes messages of this level: 1 or 0, 0 for an invalid handle.
  int (*isFatal)(HLOGGER logger);
  int (*isError)(HLOGGER logger);
  int (*isWarning)(HLOGGER logger);
  int (*isInfo)(HLOGGER logger);
  int (*isDebug)(HLOGGER logger);

  // Write one message; an invalid handle writes nothing. They have no result; whether they throw is the provider's
  // to document.
  void (*fatal)(HLOGGER logger, const wchar_t* message);
  void (*error)(HLOGGER logger, const wchar_t* message);
  void (*warning)(HLOGGER logger, const wchar_t* message);
  void (*info)(HLOGGER logger, const wchar_t* message);
  void (*debug)(HLOGGER logger, const wchar_t* message);
};
