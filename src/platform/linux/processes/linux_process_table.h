#pragma once

#include "platform/linux/processes/process_directory.h"
#include "platform/linux/processes/stat_line.h"
#include "platform/ports/process_table.h"

namespace halvard {

/// The process table out of /proc: one read of "statm" for each process, whose resident size is the exact one. That
/// file stays open for as many processes as the budget allows; a kept descriptor belongs to its process for ever, so
/// that a reused pid shows as a failed read.
///
/// What is dear is read when it may have changed only:
/// - the listing of the folder, when a pid has been given away since the last one, which "loadavg" tells;
/// - "stat", when the layout of the process's memory is another one, as after the start of another program or the end,
///   and when its parent has gone;
/// - and in any case the listing every kListingPasses passes, "stat" every kQuietPasses.
///
/// Threads of the kernel, half of a quiet machine's processes, are read no more often than that.
class LinuxProcessTable : public ProcessTable {
 public:
  /// Passes between two readings of what stands still.
  static constexpr std::uint32_t kQuietPasses = 64;
  /// Passes between two listings when nobody is new.
  static constexpr std::uint32_t kListingPasses = 16;

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
    bool isKnown = false;  // "stat" has been read
    FileDescriptor memory;
    MemoryLine::Layout layout;
    char command[64] = {};
    std::size_t commandLength = 0;
  };
  enum class Outcome { Read, Gone, OutOfDescriptors };

  int list();
  std::int32_t lastGivenPid();
  int readAll();
  void followOrphans();
  bool isOrphan(const ProcessRecord& record) const;
  void releaseDescriptors();
  bool isTurnOf(std::int32_t pid) const;
  Outcome readSlot(Slot& slot, std::uint64_t inode);
  Outcome readStat(Slot& slot);
  Outcome readMemory(Slot& slot, bool& layoutIsNew);
  void release(Slot& slot);
  std::string_view memoryTextOf(Slot& slot);
  void apply(const StatLine& line, Slot& slot);
  QString fullName(std::int32_t pid, std::string_view command);
  void arrangeRecords();

  ProcessDirectory m_directory;
  const std::size_t m_budget;
  std::size_t m_kept = 0;  // while a pass runs
  std::uint32_t m_pass = 0;
  std::vector<ProcessEntry> m_entries;
  FileDescriptor m_loadAverage;
  std::int32_t m_lastPid = 0;   // given away before the last listing; 0: not known
  std::int32_t m_listedAt = 0;  // the pid last given away before m_entries were listed; 0: not known
  bool m_lastPidIsBelievable = true;
  std::vector<Slot> m_slots;      // by pid
  std::vector<Slot> m_nextSlots;  // the pass in the making
  std::vector<ProcessRecord> m_records;
  char m_buffer[1024];
};

}  // namespace halvard
