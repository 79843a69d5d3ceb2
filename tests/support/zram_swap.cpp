#include "support/zram_swap.h"

#include <QFile>
#include <QProcess>

#include <sys/swap.h>
#include <unistd.h>

namespace halvard::test {
namespace {

QByteArray readText(const char* path) {
  QFile file(QString::fromLatin1(path));
  return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

bool writeText(const char* path, const QByteArray& text) {
  QFile file(QString::fromLatin1(path));
  return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

}  // namespace

QString ZramSwap::start(std::uint64_t bytes) {
  const QByteArray swaps = readText("/proc/swaps");
  if (swaps.contains("/dev/zram")) return {};
  if (swaps.contains("/")) return QStringLiteral("swap is on something else than zram");
  if (::geteuid() != 0) return QStringLiteral("no zram swap is active, and only root may set one up");
  if (readText("/sys/block/zram0/disksize") != "0") return QStringLiteral("there is no idle /dev/zram0");
  m_ours = writeText("/sys/block/zram0/disksize", QByteArray::number(static_cast<quint64>(bytes))) &&
           QProcess::execute(QStringLiteral("mkswap"), {QStringLiteral("-q"), QStringLiteral("/dev/zram0")}) == 0 &&
           ::swapon("/dev/zram0", 0) == 0;
  return m_ours ? QString() : QStringLiteral("zram swap cannot be set up");
}

ZramSwap::~ZramSwap() {
  if (!m_ours) return;
  ::swapoff("/dev/zram0");
  writeText("/sys/block/zram0/reset", "1");
}

}  // namespace halvard::test
