#pragma once

#include <string>
#include <vector>

#include "log/InstalledInterface.h"

/// A log provider of the tests: notes every call. Installed while an object of this class lives.
class RecordingProvider {
 public:
  struct Message {
    int level;
    std::wstring text;
    bool operator==(const Message& other) const { return level == other.level && text == other.text; }
  };

  /// The query of level N answers 1 when N is at most `level`.
  explicit RecordingProvider(int level = 5) {
    s_current = this;
    m_level = level;
    Install(Interface());
  }
  ~RecordingProvider() {
    InstalledInterface::Install(nullptr);
    InstalledInterface::SetPrefix(nullptr);
    s_current = nullptr;
  }
  RecordingProvider(const RecordingProvider&) = delete;
  RecordingProvider& operator=(const RecordingProvider&) = delete;

  static QEL_LogInterface Interface() {
    return {Create,   Destroy,                              //
            Is<1>,    Is<2>,    Is<3>,    Is<4>,    Is<5>,  //
            Write<1>, Write<2>, Write<3>, Write<4>, Write<5>};
  }
  static void Install(const QEL_LogInterface& interface) { InstalledInterface::Install(&interface); }

  std::vector<std::wstring> created;
  std::vector<HLOGGER> destroyed;
  std::vector<Message> messages;
  bool failCreation = false;
  void (*duringCreation)() = nullptr;

 private:
  static int Create(const wchar_t* name, HLOGGER* logger) {
    s_current->created.push_back(name);
    if (s_current->duringCreation) s_current->duringCreation();
    *logger = s_current;  // also when the creation fails: the client must not take it then
    return s_current->failCreation ? 0 : 1;
  }
  static void Destroy(HLOGGER logger) { s_current->destroyed.push_back(logger); }
  template <int kLevel>
  static int Is(HLOGGER logger) {
    return kLevel <= static_cast<RecordingProvider*>(logger)->m_level ? 1 : 0;
  }
  template <int kLevel>
  static void Write(HLOGGER logger, const wchar_t* message) {
    static_cast<RecordingProvider*>(logger)->messages.push_back({kLevel, message});
  }

  static inline RecordingProvider* s_current = nullptr;
  int m_level;
};
