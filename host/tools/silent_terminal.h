#ifndef KEST_HOST_TOOLS_SILENT_TERMINAL_H_
#define KEST_HOST_TOOLS_SILENT_TERMINAL_H_

#include <stdio.h>
#include <termios.h>
#include <unistd.h>

namespace kest {

// Asks for a secret, and keeps what is typed off the screen while it lives; nothing to do when standard input is no
// terminal.
class SilentTerminal {
 public:
  explicit SilentTerminal(const char* prompt) : silenced_(tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (!silenced_) return;
    fputs(prompt, stderr);
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() {
    if (!silenced_) return;
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    fputc('\n', stderr);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  termios before_;
  bool silenced_;
};

}  // namespace kest

#endif  // KEST_HOST_TOOLS_SILENT_TERMINAL_H_
