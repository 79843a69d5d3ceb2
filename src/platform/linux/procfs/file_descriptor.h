#pragma once

#include <unistd.h>

#include <utility>

namespace halvard {

/// Owns an open descriptor; negative: none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : m_number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) reset(std::exchange(other.m_number, -1));
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return m_number; }
  explicit operator bool() const { return m_number >= 0; }
  /// Closes what is owned, then owns `number`.
  void reset(int number = -1) {
    if (m_number >= 0) ::close(m_number);
    m_number = number;
  }

 private:
  int m_number = -1;
};

}  // namespace halvard
