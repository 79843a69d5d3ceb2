#pragma once

#include "platform/linux/processes/process_directory.h"
#include "platform/linux/processes/stat_line.h"
#include "platform/ports/process_table.h"

namespace halvard {

/// The process table out of /proc: one listing of the folder a pass, and one read of "stat" for each process. That file
/// stays open for as many processes as the budget allows; a kept descriptor belongs to its process for ever, so that a
/// reused pid shows as a failed read.
///
/// Resident sizes are the exact ones of "statm". It is read again when "stat" shows that the process has run, faulted
/// or changed in size, and every kMemoryPasses passes in any case: of a process that stands still only the kernel takes
/// pages, and of those at most the few hidden in its per-processor counters escape "stat". Threads of the kernel, half
/// of a quiet machine's processes, are read no more often than that, because nothing about them changes.
class LinuxProcessTable : public ProcessTable {
 public:
  /// Passes between two readings of what stands still.
  static constexpr std::uint32_t kQuietPasses = 16;

  /// Keeps at most `descriptors` files open between two passes; 0 keeps none.
  explicit LinuxProcessTable(std::size_t descriptors = affordableDescriptors(), QByteArray root = "/proc");

  /// A quarter of what this program may open.
  static std::size_t affordableDescriptors();

  Reading read() override;
  std::optional<std::int32_t> parentPid(std::int32_t pid) override;

  /// Files open now.
  std::size_t keptDescriptors() const;

 private:
  struct Slot {
    ProcessRecord record;
    std::uint64_t inode = 0;
    FileDescriptor stat;
    ProcessActivity activity;
    bool memoryIsOld = true;
    char command[64] = {};
    std::size_t commandLength = 0;
  };
  enum class Outcome { Read, Gone, OutOfDescriptors };

  int readAll();
  void releaseDescriptors();
  bool isTurnOf(std::int32_t pid) const;
  Outcome readSlot(Slot& slot, std::uint64_t inode);
  Outcome readStat(Slot& slot);
  Outcome readMemory(Slot& slot);
  void release(Slot& slot);
  std::string_view statOf(Slot& slot);
  bool mayKeep(const Slot& slot) const;
  void apply(const StatLine& line, Slot& slot);
  QString fullName(std::int32_t pid, std::string_view command);
  void arrangeRecords();

  ProcessDirectory m_directory;
  const std::size_t m_budget;
  std::size_t m_kept = 0;  // while a pass runs
  std::uint32_t m_pass = 0;
  std::vector<ProcessEntry> m_entries;
  std::vector<Slot> m_slots;      // by pid
  std::vector<Slot> m_nextSlots;  // the pass in the making
  std::vector<ProcessRecord> m_records;
  char m_buffer[1024];
};

}  // namespace halvard
