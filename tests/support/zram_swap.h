#pragma once

#include <sys/swap.h>
#include <unistd.h>

#include <QFile>
#include <QProcess>
#include <cstdint>

#include "support/process_files.h"

namespace halvard::test {

/// A zram swap device for the length of a test, when none is active and one is idle. Needs root.
class ZramSwap {
 public:
  ZramSwap() = default;
  ~ZramSwap() {
    if (!m_ours) return;
    ::swapoff("/dev/zram0");
    set("reset", "1");
  }
  ZramSwap(const ZramSwap&) = delete;
  ZramSwap& operator=(const ZramSwap&) = delete;

  /// Sees to an active zram swap: one that is there already, or a new one that holds `bytes` before compression.
  /// Empty on success, else the reason why there is none.
  QString start(std::uint64_t bytes) {
    const QByteArray swaps = fileText("/proc/swaps");
    if (swaps.contains("/dev/zram")) return {};
    if (swaps.contains("/")) return QStringLiteral("swap is on something else than zram");
    if (::geteuid() != 0) return QStringLiteral("no zram swap is active, and only root may set one up");
    if (fileText("/sys/block/zram0/disksize").trimmed() != "0") return QStringLiteral("there is no idle /dev/zram0");
    m_ours = set("disksize", QByteArray::number(static_cast<quint64>(bytes))) &&
             QProcess::execute(QStringLiteral("mkswap"), QStringLiteral("-q /dev/zram0").split(u' ')) == 0 &&
             ::swapon("/dev/zram0", 0) == 0;
    return m_ours ? QString() : QStringLiteral("zram swap cannot be set up");
  }

 private:
  static bool set(const char* attribute, const QByteArray& value) {
    QFile file(QStringLiteral("/sys/block/zram0/") + QLatin1String(attribute));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(value) == value.size();
  }
  bool m_ours = false;
};

}  // namespace halvard::test
