#pragma once

#include <cstdio>

namespace halvard {

/// Whether a person reads this stream.
bool isTerminal(std::FILE* stream);

}  // namespace halvard
