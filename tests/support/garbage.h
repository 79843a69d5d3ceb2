#pragma once

#include <cstring>
#include <initializer_list>
#include <random>
#include <vector>

namespace halvard::test {

/// A packet for a channel that is to stand anything: half of them are of any size and content, the others come ever
/// closer to `command`, or are it and one byte more.
template <class Command>
std::vector<unsigned char> garbageLike(const Command& command, std::mt19937_64& random) {
  const bool isClose = random() % 2 == 0;
  std::vector<unsigned char> packet(isClose ? sizeof command : 1 + random() % 100);
  for (unsigned char& byte : packet)
    byte = static_cast<unsigned char>(random());
  if (isClose) std::memcpy(packet.data(), &command, random() % 3 == 0 ? random() % sizeof command : sizeof command);
  if (isClose && random() % 8 == 0) packet.push_back(0);
  return packet;
}

/// One of them.
template <class Value>
Value oneOf(std::initializer_list<Value> values, std::mt19937_64& random) {
  return values.begin()[random() % values.size()];
}

}  // namespace halvard::test
