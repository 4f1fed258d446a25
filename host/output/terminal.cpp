// Finds out what kind of terminal, if any, the program writes to.
#include "host/output/terminal.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace host {

static bool noColourWanted() {
  const char* value = std::getenv("NO_COLOR");
  return value != nullptr && *value != '\0';
}

bool canMoveCursor() {
  const char* kind = std::getenv("TERM");
  return kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

Terminal Terminal::ofThisProcess() {
  Terminal terminal;
  const bool outputIsTerminal = isatty(STDOUT_FILENO) == 1;
  terminal.isTerminal = outputIsTerminal;
  terminal.canMove = outputIsTerminal && canMoveCursor();
  terminal.colour = terminal.canMove && !noColourWanted();
  terminal.canAsk = isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
  terminal.utf8 = std::setlocale(LC_CTYPE, "") != nullptr && std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
  winsize size{};
  if (outputIsTerminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    terminal.columns = size.ws_col;
    if (size.ws_row > 0) terminal.rows = size.ws_row;
  }
  return terminal;
}

std::string Terminal::bold(const std::string& text) const {
  return colour ? "\033[1m" + text + "\033[0m" : text;
}

std::string Terminal::highlighted(const std::string& text) const {
  return colour ? "\033[1;33m" + text + "\033[0m" : text;
}

}  // namespace host
