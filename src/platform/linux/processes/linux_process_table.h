#pragma once

#include "platform/linux/processes/process_directory.h"
#include "platform/linux/processes/stat_line.h"
#include "platform/ports/process_table.h"

namespace halvard {

/// The process table out of /proc: one listing of the folder a pass, and for each process one read of "stat" and one
/// of "statm". Both files stay open for as many processes as the budget allows; a kept descriptor belongs to its
/// process for ever, so that a reused pid shows as a failed read.
class LinuxProcessTable : public ProcessTable {
 public:
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
    FileDescriptor stat;
    FileDescriptor statm;
    char command[64] = {};
    std::size_t commandLength = 0;
  };
  enum class Outcome { Read, Gone, OutOfDescriptors };

  int readAll();
  void releaseDescriptors();
  Outcome readSlot(Slot& slot);
  Outcome readStat(Slot& slot);
  Outcome readMemory(Slot& slot);
  std::string_view contents(FileDescriptor& kept, std::int32_t pid, std::string_view name, bool keep);
  bool mayKeep(const Slot& slot) const;
  void apply(const StatLine& line, Slot& slot);
  QString fullName(std::int32_t pid, std::string_view command);
  void arrangeRecords();

  ProcessDirectory m_directory;
  const std::size_t m_budget;
  std::size_t m_kept = 0;  // while a pass runs
  std::vector<std::int32_t> m_pids;
  std::vector<Slot> m_slots;      // by pid
  std::vector<Slot> m_nextSlots;  // the pass in the making
  std::vector<ProcessRecord> m_records;
  char m_buffer[1024];
};

}  // namespace halvard
