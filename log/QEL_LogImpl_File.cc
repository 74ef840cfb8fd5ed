#include "log/QEL_LogImpl_File.h"

#include <sys/time.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "util/QELUtils.h"

namespace {

/// Converts to the encoding of the process's locale; a character that it lacks becomes a question mark.
std::string InLocaleEncoding(const std::wstring& text) {
  std::string bytes(text.size() * MB_CUR_MAX, '\0');
  const wchar_t* source = text.c_str();
  std::mbstate_t state{};
  size_t size = std::wcsrtombs(bytes.data(), &source, bytes.size(), &state);
  if (size == static_cast<size_t>(-1)) {
    size = 0;
    state = {};
    for (const wchar_t character : text) {
      const size_t added = std::wcrtomb(&bytes[size], character, &state);
      if (added == static_cast<size_t>(-1)) {
        bytes[size++] = '?';
        state = {};
      } else {
        size += added;
      }
    }
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace

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
  const std::string line = InLocaleEncoding(Format(now, level, message));
  std::vector<char> buffer(line.size() + 1);
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(m_path.c_str(), "at"), std::fclose);
  if (!file) return;
  // The line fits into the buffer, so closing the file writes it, at once.
  std::setvbuf(file.get(), buffer.data(), _IOFBF, buffer.size());
  std::fwrite(line.data(), 1, line.size(), file.get());
}

std::wstring QEL_LogImpl_File::Format(const timeval& now, LogLevel level, const wchar_t* message) const {
  const tm& time = *std::localtime(&now.tv_sec);  // one buffer for the process: read under the mutex
  wchar_t head[128];
  std::swprintf(head, std::size(head), L"%04i-%02i-%02i %02i:%02i:%02i,%03i [%d-%lld] %-5s ",  //
                time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                static_cast<int>(now.tv_usec / 1000), static_cast<int>(QELUtils::getpid()),
                static_cast<long long>(QELUtils::gettid()), LogProviderLevelName(level));
  // Name and message are not formatted: some systems' wide printf refuses what the locale lacks.
  return head + m_name + L" - " + message + L"\n";
}
