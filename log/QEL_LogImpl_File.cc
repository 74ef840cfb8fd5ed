#include "log/QEL_LogImpl_File.h"

#include <sys/time.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "util/QELUtils.h"

struct QEL_LogImpl_File::Provider {
  std::mutex mutex;  // the configuration, and every line from opening the file to closing it
  Configuration configuration;
};

QEL_LogImpl_File::Provider& QEL_LogImpl_File::TheProvider() {
  static Provider provider;
  return provider;
}

void QEL_LogImpl_File::Configure(const char* path, LogLevel level, const char* locale) {
  Provider& provider = TheProvider();
  const std::lock_guard<std::mutex> lock(provider.mutex);
  provider.configuration = {level, path};
  if (level != 0) std::setlocale(LC_ALL, locale);
}

void QEL_LogImpl_File::GetInterface(QEL_LogInterface* target) {
  LogProviderSlots<QEL_LogImpl_File>::Fill(target);
}

QEL_LogImpl_File::Configuration QEL_LogImpl_File::CurrentConfiguration() {
  Provider& provider = TheProvider();
  const std::lock_guard<std::mutex> lock(provider.mutex);
  return provider.configuration;
}

QEL_LogImpl_File::QEL_LogImpl_File(const wchar_t* name) : QEL_LogImpl_File(CurrentConfiguration(), name) {}

QEL_LogImpl_File::QEL_LogImpl_File(Configuration configuration, const wchar_t* name)
    : LogRecord(configuration.level), m_path(std::move(configuration.path)), m_name(name && *name ? name : L"null") {}

void QEL_LogImpl_File::Write(LogLevel level, const wchar_t* message) const {
  if (!IsLevel(level)) return;
  timeval now{};
  gettimeofday(&now, nullptr);

  const std::lock_guard<std::mutex> lock(TheProvider().mutex);
  // Room for the whole line, in wide characters as in the locale's, so that closing the file is what writes.
  constexpr size_t kPrefixSize = 128;
  const size_t characters = kPrefixSize + m_name.size() + std::wcslen(message);
  std::vector<char> buffer(characters * std::max<size_t>(sizeof(wchar_t), MB_CUR_MAX));
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(m_path.c_str(), "at"), std::fclose);
  if (!file) return;

  std::setvbuf(file.get(), buffer.data(), _IOFBF, buffer.size());
  const tm& time = *std::localtime(&now.tv_sec);  // one buffer for the process: read under the mutex
  std::fwprintf(file.get(), L"%04i-%02i-%02i %02i:%02i:%02i,%03i [%d-%lld] %-5s %ls - %ls\n",  //
                time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                static_cast<int>(now.tv_usec / 1000), static_cast<int>(QELUtils::getpid()),
                static_cast<long long>(QELUtils::gettid()), LogProviderLevelName(level), m_name.c_str(), message);
}
