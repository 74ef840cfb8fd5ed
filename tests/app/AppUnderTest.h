#pragma once

#import <AppKit/AppKit.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/app/Screen.h"

/// The system's colours as a dark screen has them, for windows that are made meanwhile.
class DarkColours {
 public:
  DarkColours();
  ~DarkColours();
  DarkColours(const DarkColours &) = delete;
  DarkColours &operator=(const DarkColours &) = delete;

 private:
  NSMutableDictionary *m_light = [[NSMutableDictionary alloc] init];
};

/// The app with its window on a screen of its own, in this process.
class AppUnderTest {
 public:
  /// `environment` says where cards are.
  explicit AppUnderTest(const std::map<std::string, std::optional<std::string>> &environment);
  ~AppUnderTest();
  AppUnderTest(const AppUnderTest &) = delete;
  AppUnderTest &operator=(const AppUnderTest &) = delete;

  NSWindow *Window() const { return m_window; }
  /// Every text that the window shows, from top to bottom; buttons' titles come last.
  std::vector<std::string> Texts() const;
  /// The titles of its buttons.
  std::vector<std::string> Buttons() const;
  /// What a screen reader says of the rows.
  std::vector<std::string> SpokenRows() const;
  /// What a user could not read, a line each: texts that are higher or wider than their place, or outside of the
  /// window.
  std::vector<std::string> CutOff() const;
  /// The texts that hardly differ from what is behind them.
  std::vector<std::string> HardToRead() const;
  /// Takes a picture of the window for people to look at, and for CutOff's blind spots. Returns its number of colours.
  size_t TakePicture(const std::string &name) const;
  /// Presses a key of the keyboard while the window has it.
  void Press(unichar key) const;
  /// Gives events and timers this time.
  void Run(double seconds) const;

 private:
  NSBitmapImageRep *Picture() const;

  Screen m_screen;
  NSWindow *m_window = nil;
};
