#include "tests/app/Screen.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

Screen::Screen() {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  m_process = fork();
  if (m_process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int quiet = open("/dev/null", O_RDWR);
    dup2(quiet, STDOUT_FILENO);
    dup2(quiet, STDERR_FILENO);
    close(ends[0]);
    const std::string number = std::to_string(ends[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", "1024x768x24", "-nolisten", "tcp", nullptr);
    _exit(127);
  }
  close(ends[1]);
  // It ends when it cannot write the whole line.
  std::string display = ":";
  for (char digit; display.back() != '\n' && read(ends[0], &digit, 1) == 1;) display += digit;
  close(ends[0]);
  if (display.back() != '\n') throw std::runtime_error("Xvfb did not start");
  display.pop_back();
  setenv("DISPLAY", display.c_str(), 1);
}

Screen::~Screen() {
  kill(m_process, SIGTERM);
  waitpid(m_process, nullptr, 0);
}
