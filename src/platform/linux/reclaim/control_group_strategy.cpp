#include "platform/linux/reclaim/control_group_strategy.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/text_scanner.h"
#include "platform/linux/reclaim/reclaim_forecast.h"
#include "platform/linux/reclaim/reclaim_pace.h"
#include "platform/linux/reclaim/step_session.h"
#include "platform/linux/reclaim/victim_queue.h"

namespace halvard {
namespace {

const QString kWhatItDoes = QStringLiteral("the control groups of idle applications are asked to give up memory");

std::string fileOf(const std::string& root, const Victim& unit, const char* name) {
  return root + unit.unit.toStdString() + "/" + name;
}

/// One write, as the kernel wants it. 0 or an errno.
int writeOnce(const std::string& path, const std::string& text) {
  const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
  if (!file) return errno;
  return ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : errno;
}

/// Asks for anonymous memory where the kernel can be told so. 0, EAGAIN when it got less, or another errno.
int askFor(const std::string& path, ByteCount bytes) {
  const std::string amount = std::to_string(bytes);
  const int error = writeOnce(path, amount + " swappiness=200");
  return error == EINVAL ? writeOnce(path, amount) : error;
}

/// Bytes in swap: what has gone out of a unit's anonymous memory is there.
ByteCount swappedBytes(const std::string& path) {
  std::array<char, 64> buffer;
  return TextScanner(readFile(path, buffer)).takeNumber().value_or(0);
}

class ControlGroupSteps : public ReclaimSteps {
 public:
  ControlGroupSteps(std::string root, VictimQueue units, GuardReadingsSource& readings, Clock& clock)
      : m_root(std::move(root)), m_units(std::move(units)), m_pace(readings, clock) {}

  void step(ByteCount bytes) override {
    ByteCount left = bytes;
    while (left > 0) {
      Victim* const unit = m_units.current();
      if (!unit || !m_pace.mayStep()) break;
      const ByteCount wanted = std::min(left, ControlGroupStrategy::kMostAtOnce);
      left -= askUnit(*unit, wanted) ? wanted : 0;
    }
  }

  ReclaimOutcome outcome() const override {
    const ReclaimMethod method = m_gone > 0 ? ReclaimMethod::ControlGroups : ReclaimMethod::None;
    ReclaimOutcome outcome{method, m_gone, kWhatItDoes};
    if (!m_pace.refusal().isEmpty()) outcome.explanation = QStringLiteral("stopped early: ") + m_pace.refusal();
    return outcome;
  }

 private:
  /// False when the unit is done with: it gave less than it was asked for, everything it was counted for, or nothing.
  bool askUnit(Victim& unit, ByteCount bytes) {
    const std::string swapFile = fileOf(m_root, unit, "memory.swap.current");
    const ByteCount before = swappedBytes(swapFile);
    const ByteCount wanted = std::min(bytes, unit.bytes);
    const int error = askFor(fileOf(m_root, unit, "memory.reclaim"), wanted);
    const ByteCount after = swappedBytes(swapFile);
    if (after > before) m_gone += after - before;
    unit.bytes -= wanted;
    const bool isDone = error != 0 || unit.bytes == 0;
    if (isDone) m_units.next();
    return error == 0;
  }

  const std::string m_root;
  VictimQueue m_units;
  ReclaimPace m_pace;
  ByteCount m_gone = 0;
};

}  // namespace

ControlGroupStrategy::ControlGroupStrategy(VictimSource& victims, GuardReadingsSource& readings, Clock& clock,
                                           std::string root)
    : m_victims(victims), m_readings(readings), m_clock(clock), m_root(std::move(root)) {}

Result<ControlGroupStrategy::Found> ControlGroupStrategy::find() {
  if (const auto obstacle = obstacleToPagingOut(m_readings.read())) return Error{*obstacle};
  if (::access((m_root + "/cgroup.controllers").c_str(), F_OK) != 0) {
    return Error{QStringLiteral("control groups are not of version 2")};
  }
  VictimSource::Reading reading = m_victims.read();
  std::vector<Victim> units = selectUnits(reading.candidates, reading.policy);
  std::erase_if(units, [this](const Victim& unit) {
    // A path outside of this program's view of the hierarchy begins with dots.
    return unit.unit.contains("/..") || ::access(fileOf(m_root, unit, "memory.reclaim").c_str(), W_OK) != 0;
  });
  if (units.empty()) return Error{QStringLiteral("no idle application has a control group that may be asked")};
  return Found{std::move(reading), std::move(units)};
}

Result<std::unique_ptr<PurgeableSession>> ControlGroupStrategy::open() {
  auto found = find();
  if (!found) return found.error();
  VictimQueue units(m_victims, m_clock, std::move(found.value().reading), std::move(found.value().units), selectUnits);
  auto steps = std::make_unique<ControlGroupSteps>(m_root, std::move(units), m_readings, m_clock);
  return std::unique_ptr<PurgeableSession>(std::make_unique<StepSession>(std::move(steps)));
}

Result<ReclaimForecast> ControlGroupStrategy::forecast() {
  const auto found = find();
  const auto readings = m_readings.read();
  if (!found) return found.error();
  ReclaimForecast forecast =
      forecastOf(ReclaimMethod::ControlGroups, found.value().units, readings ? roomInSwap(*readings) : 0, keptShare());
  forecast.explanation = kWhatItDoes;
  return forecast;
}

}  // namespace halvard
