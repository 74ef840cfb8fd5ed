#pragma once

#include "log/QELLog.h"

/// Writes a line at debug level where the surrounding function is entered, and one where it is left; nothing when the
/// log does not take that level.
#define QEL_TRACE_FUNCTION() \
  const auto traceScope = QELLog::Enter(__FILE_NAME__, __LINE__, __func__, QELLog::LogLevel::Debug)
