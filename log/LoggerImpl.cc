#include "log/LoggerImpl.h"

#include <iomanip>
#include <locale>
#include <sstream>

#include "util/QELUtils.h"

namespace QELLog {

std::unique_ptr<LoggerImpl::FuncScope> LoggerImpl::Enter(const char* file, int line, const char* function,
                                                         LogLevel level) {
  return std::make_unique<FuncScopeDefault>(shared_from_this(), level, file, line, function);
}

std::string LoggerImpl::MakePrefix(LogLevel level, bool withTime, bool withProcess, bool withLevel) const {
  std::ostringstream prefix;
  prefix.imbue(std::locale::classic());  // years and process numbers without digit grouping

  if (withTime) {
    const auto now = QELUtils::GetLocalTime(false);
    prefix << std::setfill('0')                                   //
           << std::setw(4) << now.calendar.tm_year + 1900 << '-'  //
           << std::setw(2) << now.calendar.tm_mon + 1 << '-'      //
           << std::setw(2) << now.calendar.tm_mday << ' '         //
           << std::setw(2) << now.calendar.tm_hour << ':'         //
           << std::setw(2) << now.calendar.tm_min << ':'          //
           << std::setw(2) << now.calendar.tm_sec << ',' << std::setw(3) << now.milliseconds << ' ';
  }
  if (withProcess) prefix << '[' << QELUtils::getpid() << '-' << QELUtils::gettid() << "] ";
  if (withLevel) prefix << level << ": ";
  return prefix.str();
}

}  // namespace QELLog
