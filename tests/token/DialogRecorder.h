#pragma once

#include <string>
#include <vector>

/// The PIN dialog library's calls since it was made: "show 8", "hide". They also stand in the trace of the card in
/// force, as "dialog show 8". Fails the test when a dialog stays visible.
class DialogRecorder {
 public:
  DialogRecorder();
  ~DialogRecorder();
  DialogRecorder(const DialogRecorder&) = delete;
  DialogRecorder& operator=(const DialogRecorder&) = delete;

  std::vector<std::string> Calls() const;
  bool IsVisible() const;
};
