#pragma once

#include "platform/linux/purge/purge_guard.h"

namespace halvard::test {

/// What a purge's guard reads, as a test says: room without end, and calm, unless told otherwise.
struct ScriptedReadings : GuardReadingsSource {
  static constexpr ByteCount kGiB = ByteCount{1} << 30;

  std::optional<GuardReadings> readings = calm();
  /// How long everything stood still before each reading.
  std::chrono::milliseconds stallPerReading{0};
  int calls = 0;

  static GuardReadings calm() {
    const MemoryPressure none{0, std::chrono::microseconds(0)};
    return {8 * kGiB, 7 * kGiB, 4 * kGiB, none, {}, 4 * kGiB, none};
  }

  std::optional<GuardReadings> read() override {
    ++calls;
    if (!readings) return readings;
    readings->pressure->total += stallPerReading;
    readings->somePressure->total += stallPerReading;
    readings->time += stallPerReading + std::chrono::milliseconds(1);
    return readings;
  }
};

}  // namespace halvard::test
