#include "platform/linux/session/terminal.h"

#include <unistd.h>

namespace halvard {

bool isTerminal(std::FILE* stream) {
  return isatty(fileno(stream)) == 1;
}

}  // namespace halvard
