#include "platform/linux/processes/linux_process_table.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/resource.h>

#include "platform/linux/processes/executable_name.h"

namespace halvard {

namespace {

constexpr std::size_t kLongestCommand = 15;

bool ranOut() {
  return errno == EMFILE || errno == ENFILE;
}

bool forbidden() {
  return errno == EACCES || errno == EPERM;
}

ByteCount pageSize() {
  static const auto size = static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
  return size;
}

}  // namespace

LinuxProcessTable::LinuxProcessTable(std::size_t descriptors, QByteArray root)
    : m_directory(std::move(root)), m_budget(descriptors) {}

std::size_t LinuxProcessTable::affordableDescriptors() {
  rlimit limit{};
  return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? std::min<std::size_t>(limit.rlim_cur, 65'536) / 4 : 0;
}

std::size_t LinuxProcessTable::keptDescriptors() const {
  std::size_t count = 0;
  for (const Slot& slot : m_slots)
    count += slot.stat ? 1 : 0;
  return count;
}

void LinuxProcessTable::releaseDescriptors() {
  for (Slot& slot : m_slots)
    slot.stat.reset();
}

ProcessTable::Reading LinuxProcessTable::read() {
  if (const int error = m_directory.list(m_entries)) return {error, nullptr};
  m_kept = keptDescriptors();
  ++m_pass;
  int error = readAll();
  if (error == EMFILE) {
    // Whoever needs the descriptors, needs them more than the next pass does: give them back, and keep none this time.
    m_slots.swap(m_nextSlots);
    releaseDescriptors();
    m_kept = m_budget;
    error = readAll();
  }
  m_slots.swap(m_nextSlots);
  m_nextSlots.clear();
  if (error) return {error, nullptr};
  arrangeRecords();
  return {0, &m_records};
}

int LinuxProcessTable::readAll() {
  m_nextSlots.clear();
  auto known = m_slots.begin();
  int error = 0;
  for (const auto& [pid, inode] : m_entries) {
    while (known != m_slots.end() && known->record.pid < pid)
      ++known;
    const bool isKnown = known != m_slots.end() && known->record.pid == pid;
    Slot& slot = m_nextSlots.emplace_back(isKnown ? std::move(*known++) : Slot());
    slot.record.pid = pid;
    const Outcome outcome = error ? Outcome::Read : readSlot(slot, inode);
    if (outcome == Outcome::OutOfDescriptors) error = EMFILE;
    if (outcome == Outcome::Gone) m_nextSlots.pop_back();
  }
  return error;
}

// True in one of kQuietPasses passes.
bool LinuxProcessTable::isTurnOf(std::int32_t pid) const {
  return (m_pass + static_cast<std::uint32_t>(pid)) % kQuietPasses == 0;
}

LinuxProcessTable::Outcome LinuxProcessTable::readSlot(Slot& slot, std::uint64_t inode) {
  const bool isSame = std::exchange(slot.inode, inode) == inode;
  if (isSame && slot.record.kernelThread && !isTurnOf(slot.record.pid)) return Outcome::Read;
  if (!isSame) release(slot);
  const Outcome outcome = readStat(slot);
  return outcome == Outcome::Read ? readMemory(slot) : outcome;
}

// Threads of the kernel are seldom read: they come last.
bool LinuxProcessTable::mayKeep(const Slot& slot) const {
  const bool roomForAll = m_budget >= m_entries.size();
  const bool isUsers = slot.record.startTime != 0 && !slot.record.kernelThread;
  return m_kept < m_budget && (roomForAll || isUsers);
}

void LinuxProcessTable::release(Slot& slot) {
  if (slot.stat) --m_kept;
  slot.stat.reset();
}

// Empty when the process has gone, or with errno set.
std::string_view LinuxProcessTable::statOf(Slot& slot) {
  if (slot.stat) {
    const std::string_view text = readFromStart(slot.stat.get(), m_buffer);
    if (!text.empty()) return text;
    release(slot);
  }
  FileDescriptor file = m_directory.open(slot.record.pid, "stat");
  if (!file) return {};
  errno = 0;
  const std::string_view text = readFromStart(file.get(), m_buffer);
  if (!text.empty() && mayKeep(slot)) {
    slot.stat = std::move(file);
    ++m_kept;
  }
  return text;
}

LinuxProcessTable::Outcome LinuxProcessTable::readStat(Slot& slot) {
  const std::string_view text = statOf(slot);
  if (text.empty() && ranOut()) return Outcome::OutOfDescriptors;
  const auto line = parseStatLine(text);
  if (!line || line->pid != slot.record.pid) return Outcome::Gone;
  apply(*line, slot);
  return Outcome::Read;
}

void LinuxProcessTable::apply(const StatLine& line, Slot& slot) {
  ProcessRecord& record = slot.record;
  const std::string_view command = line.command.substr(0, sizeof slot.command);
  const bool sameProgram = record.startTime == line.startTime && record.programMark == line.programMark &&
                           command == std::string_view(slot.command, slot.commandLength);
  slot.memoryIsOld = !sameProgram || slot.activity != line.activity || !record.residentBytes || isTurnOf(record.pid);
  slot.activity = line.activity;
  record.parentPid = line.parentPid;
  record.startTime = line.startTime;
  record.programMark = line.programMark;
  record.kernelThread = line.kernelThread;
  record.exited = line.exited;
  if (sameProgram) return;
  std::ranges::copy(command, slot.command);
  slot.commandLength = command.size();
  // From here on the line is gone: it lies in the buffer that finding the name fills anew.
  record.name = fullName(record.pid, {slot.command, slot.commandLength});
}

QString LinuxProcessTable::fullName(std::int32_t pid, std::string_view command) {
  const auto text = [](std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
  };
  if (command.size() != kLongestCommand) return text(command);
  const QByteArray executable = m_directory.readLink(pid, "exe");
  const std::string_view arguments = m_directory.read(pid, "cmdline", m_buffer);
  return text(executableName(command, {executable.constData(), std::size_t(executable.size())}, arguments));
}

LinuxProcessTable::Outcome LinuxProcessTable::readMemory(Slot& slot) {
  if (slot.record.kernelThread || slot.record.exited) {
    slot.record.residentBytes = 0;
    return Outcome::Read;
  }
  if (!slot.memoryIsOld) return Outcome::Read;
  const std::string_view text = m_directory.read(slot.record.pid, "statm", m_buffer);
  if (text.empty() && ranOut()) return Outcome::OutOfDescriptors;
  if (text.empty() && !forbidden()) return Outcome::Gone;
  const auto pages = parseResidentPages(text);
  slot.record.residentBytes = pages ? std::optional(*pages * pageSize()) : std::nullopt;
  return Outcome::Read;
}

void LinuxProcessTable::arrangeRecords() {
  m_records.resize(m_slots.size());
  std::ranges::transform(m_slots.rbegin(), m_slots.rend(), m_records.begin(), &Slot::record);
  const auto newestFirst = [](const ProcessRecord& left, const ProcessRecord& right) {
    return left.startTime > right.startTime || (left.startTime == right.startTime && left.pid > right.pid);
  };
  if (!std::ranges::is_sorted(m_records, newestFirst)) std::ranges::sort(m_records, newestFirst);
}

std::optional<std::int32_t> LinuxProcessTable::parentPid(std::int32_t pid) {
  const auto line = parseStatLine(m_directory.read(pid, "stat", m_buffer));
  if (!line) return std::nullopt;
  return line->parentPid;
}

}  // namespace halvard
