#include "platform/linux/processes/linux_process_table.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
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
  return static_cast<std::size_t>(std::ranges::count_if(m_slots, [](const Slot& slot) { return bool(slot.memory); }));
}

void LinuxProcessTable::releaseDescriptors() {
  for (Slot& slot : m_slots)
    slot.memory.reset();
}

// 0 when that is not to be had.
std::int32_t LinuxProcessTable::lastGivenPid() {
  if (!m_lastPidIsBelievable) return 0;
  if (!m_loadAverage) m_loadAverage = m_directory.open("loadavg");
  std::string_view text = readFromStart(m_loadAverage.get(), m_buffer);
  while (!text.empty() && text.back() == '\n')
    text.remove_suffix(1);
  std::int32_t pid = 0;
  const std::size_t blank = text.rfind(' ');
  if (blank == text.npos) return 0;
  std::from_chars(text.data() + blank + 1, text.data() + text.size(), pid);
  return pid;
}

int LinuxProcessTable::list() {
  const std::int32_t last = lastGivenPid();
  const bool nobodyIsNew = last != 0 && last == m_listedAt;
  if (nobodyIsNew && m_pass % kListingPasses != 0) return 0;
  std::vector<ProcessEntry> before;
  if (nobodyIsNew) before = m_entries;
  const int error = m_directory.list(m_entries);
  // A pid is given away a moment before its process can be seen: what was listed counts from the second time on.
  const bool isSettled = std::exchange(m_lastPid, last) == last;
  m_listedAt = error || !isSettled ? 0 : last;
  // Somebody new under an old count: this /proc counts for others than it lists.
  if (nobodyIsNew && !std::ranges::includes(before, m_entries, {}, &ProcessEntry::pid, &ProcessEntry::pid) &&
      lastGivenPid() == last)
    m_lastPidIsBelievable = false;
  return error;
}

ProcessTable::Reading LinuxProcessTable::read() {
  ++m_pass;
  if (const int error = list()) return {error, nullptr};
  m_kept = keptDescriptors();
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
  if (!error) followOrphans();
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
    if (outcome != Outcome::Gone) continue;
    m_nextSlots.pop_back();
    if (!forbidden()) m_listedAt = 0;
  }
  return error;
}

// True in one of kQuietPasses passes.
bool LinuxProcessTable::isTurnOf(std::int32_t pid) const {
  return (m_pass + static_cast<std::uint32_t>(pid)) % kQuietPasses == 0;
}

LinuxProcessTable::Outcome LinuxProcessTable::readSlot(Slot& slot, std::uint64_t inode) {
  const bool isSame = std::exchange(slot.inode, inode) == inode && slot.isKnown;
  if (!isSame) release(slot);
  bool isDue = !isSame || slot.record.exited || isTurnOf(slot.record.pid);
  if (isSame && !slot.record.kernelThread) {
    const Outcome outcome = readMemory(slot, isDue);
    if (outcome != Outcome::Read) return outcome;
  }
  if (!isDue) return Outcome::Read;
  const Outcome outcome = readStat(slot);
  if (outcome != Outcome::Read || isSame) return outcome;
  const Outcome memory = readMemory(slot, isDue);
  slot.layout = {};  // perhaps that of the next program already: the next pass reads "stat" once more
  return memory;
}

// Whoever loses the parent gets another one.
bool LinuxProcessTable::isOrphan(const ProcessRecord& record) const {
  if (record.parentPid <= 1) return false;
  const auto parent =
      std::ranges::lower_bound(m_slots, record.parentPid, {}, [](const Slot& slot) { return slot.record.pid; });
  return parent == m_slots.end() || parent->record.pid != record.parentPid || parent->record.exited ||
         parent->record.startTime > record.startTime;
}

// Who cannot be asked now is asked in the next pass.
void LinuxProcessTable::followOrphans() {
  for (Slot& slot : m_slots) {
    if (isOrphan(slot.record)) readStat(slot);
  }
}

void LinuxProcessTable::release(Slot& slot) {
  if (slot.memory) --m_kept;
  slot.memory.reset();
}

LinuxProcessTable::Outcome LinuxProcessTable::readStat(Slot& slot) {
  const FileDescriptor file = m_directory.open(slot.record.pid, "stat");
  const std::string_view text = file ? readFromStart(file.get(), m_buffer) : std::string_view();
  if (text.empty() && ranOut()) {
    slot.isKnown = false;  // what called for this reading is not seen a second time
    return Outcome::OutOfDescriptors;
  }
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
  record.parentPid = line.parentPid;
  record.startTime = line.startTime;
  record.programMark = line.programMark;
  record.kernelThread = line.kernelThread;
  record.exited = line.exited;
  if (line.exited) record.residentBytes = 0;
  slot.isKnown = true;
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

// Empty when the process has gone, or with errno set.
std::string_view LinuxProcessTable::memoryTextOf(Slot& slot) {
  errno = 0;
  if (slot.memory) return readFromStart(slot.memory.get(), m_buffer);
  FileDescriptor file = m_directory.open(slot.record.pid, "statm");
  if (!file) return {};
  errno = 0;
  const std::string_view text = readFromStart(file.get(), m_buffer);
  if (!text.empty() && m_kept < m_budget) {
    slot.memory = std::move(file);
    ++m_kept;
  }
  return text;
}

// Sets `layoutIsNew`, or leaves it.
LinuxProcessTable::Outcome LinuxProcessTable::readMemory(Slot& slot, bool& layoutIsNew) {
  if (slot.record.kernelThread || slot.record.exited) {
    slot.record.residentBytes = 0;
    return Outcome::Read;
  }
  const std::string_view text = memoryTextOf(slot);
  if (text.empty() && ranOut()) return Outcome::OutOfDescriptors;
  if (text.empty() && !forbidden()) return Outcome::Gone;
  const auto line = parseMemoryLine(text);
  slot.record.residentBytes = line ? std::optional(line->resident * pageSize()) : std::nullopt;
  // What does not tell has to be asked each time; nor does a process on its way out, which has no memory any more.
  if (!line || std::exchange(slot.layout, line->layout) != line->layout || line->layout.all == 0) layoutIsNew = true;
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
