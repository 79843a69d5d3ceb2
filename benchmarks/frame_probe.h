#pragma once

#include <sys/types.h>

#include <cstddef>
#include <vector>

namespace halvard::bench {

/// A program that draws 60 times a second, as far as the memory and the processors notice: a process of its own that
/// walks over 32 MiB, and takes and gives back 2 MiB, a frame. A frame lasts from the moment when it was due until its
/// work is done.
class FrameProbe {
 public:
  FrameProbe();
  ~FrameProbe();
  FrameProbe(const FrameProbe&) = delete;
  FrameProbe& operator=(const FrameProbe&) = delete;

  /// Frames so far.
  std::size_t now() const;
  /// The frames from one reading of now() to another, in milliseconds.
  std::vector<double> between(std::size_t first, std::size_t last) const;

 private:
  struct Record;
  Record* m_record;  // shared with the probe
  pid_t m_process;
};

/// The value below which `part` of them are.
double quantile(std::vector<double> values, double part);

/// Median, 99th percentile, longest and number of frames, to the end of the line.
void printFrames(const std::vector<double>& frames);

}  // namespace halvard::bench
