#include "platform/linux/files/package_sizes.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace halvard {
namespace {

constexpr int kFilesPerCall = 200;

/// What the program prints; empty when it is not installed or the search was stopped.
QByteArray run(const QString& program, const QStringList& arguments, const QByteArrayList& names,
               std::stop_token stop) {
  const QString path = QStandardPaths::findExecutable(program);
  if (path.isEmpty() || names.isEmpty() || stop.stop_requested()) return {};
  QStringList all = arguments;
  for (const QByteArray& name : names)
    all << QFile::decodeName(name);
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
  process.setProcessEnvironment(environment);
  process.setStandardErrorFile(QProcess::nullDevice());
  process.start(path, all, QIODevice::ReadOnly);
  while (!process.waitForFinished(100) && process.state() != QProcess::NotRunning) {
    if (!stop.stop_requested()) continue;
    process.kill();
    process.waitForFinished();
    return {};
  }
  return process.readAllStandardOutput();
}

/// dpkg-query takes wildcards; a backslash makes a name out of them.
QByteArrayList escaped(QByteArrayList names) {
  for (QByteArray& name : names)
    name.replace("\\", "\\\\").replace("*", "\\*").replace("?", "\\?").replace("[", "\\[");
  return names;
}

std::map<QByteArray, OwningPackage> dpkgOwners(const QByteArrayList& files, std::stop_token stop) {
  const auto packages = package_output::dpkgOwners(
      run(QStringLiteral("dpkg-query"), {QStringLiteral("-S"), QStringLiteral("--")}, escaped(files), stop));
  QByteArrayList names;
  for (const auto& [file, package] : packages) {
    if (!names.contains(package)) names << package;
  }
  const QStringList ask{QStringLiteral("-W"), QStringLiteral("-f=${binary:Package}\\t${Installed-Size}\\n"),
                        QStringLiteral("--")};
  const auto sizes = package_output::dpkgSizes(run(QStringLiteral("dpkg-query"), ask, names, stop));
  std::map<QByteArray, OwningPackage> owners;
  for (const auto& [file, package] : packages) {
    auto size = sizes.find(package);
    if (size != sizes.end()) owners.emplace(file, OwningPackage{"dpkg:" + package, size->second});
  }
  return owners;
}

/// One by one: for several files rpm does not say which line is whose, and there may be none or more than one.
std::map<QByteArray, OwningPackage> rpmOwners(const QByteArrayList& files, std::stop_token stop) {
  const QStringList ask{QStringLiteral("-qf"), QStringLiteral("--qf"), QStringLiteral("%{NAME}\\t%{SIZE}\\n"),
                        QStringLiteral("--")};
  std::map<QByteArray, OwningPackage> owners;
  for (const QByteArray& file : files) {
    const auto owner = package_output::rpmOwner(run(QStringLiteral("rpm"), ask, {file}, stop));
    if (owner) owners.emplace(file, *owner);
  }
  return owners;
}

}  // namespace

std::optional<OwningPackage> PackageSizes::flatpakOwner(const QByteArray& file) const {
  const qsizetype exports = file.indexOf("/exports/share/applications/");
  if (exports < 0) return {};
  const QByteArray base = file.left(exports);
  // An application may export entries whose names only begin with its id.
  QByteArray id = QFileInfo(QFile::decodeName(file)).completeBaseName().toUtf8();
  for (; !id.isEmpty(); id = id.left(std::max<qsizetype>(id.lastIndexOf('.'), 0))) {
    QFile deploy(QFile::decodeName(base + "/app/" + id + "/current/active/deploy"));
    if (!deploy.open(QIODevice::ReadOnly)) continue;
    const auto size = package_output::flatpakInstalledSize(deploy.readAll());
    if (!size) return {};
    return OwningPackage{"flatpak:" + base + ':' + id, *size};
  }
  return {};
}

std::optional<OwningPackage> PackageSizes::snapOwner(const QByteArray& file) const {
  const QString name = QFileInfo(QFile::decodeName(file)).fileName().section(QLatin1Char('_'), 0, 0);
  if (!file.contains("/snapd/desktop/applications/") || name.isEmpty()) return {};
  const QString current = QFile::decodeName(m_snapMounts) + QLatin1Char('/') + name + QStringLiteral("/current");
  const QString revision = QFileInfo(QFileInfo(current).symLinkTarget()).fileName();
  const QFileInfo archive(QFile::decodeName(m_snapFiles) + QStringLiteral("/%1_%2.snap").arg(name, revision));
  if (!archive.isFile()) return {};
  return OwningPackage{"snap:" + name.toUtf8(), static_cast<ByteCount>(archive.size())};
}

std::map<QByteArray, OwningPackage> PackageSizes::ownersOfFiles(const QByteArrayList& files,
                                                                std::stop_token stop) const {
  std::map<QByteArray, OwningPackage> owners;
  QByteArrayList rest;
  for (const QByteArray& file : files) {
    auto owner = flatpakOwner(file);
    if (!owner) owner = snapOwner(file);
    if (owner) {
      owners.emplace(file, *owner);
    } else {
      rest << file;
    }
  }
  for (qsizetype begin = 0; begin < rest.size(); begin += kFilesPerCall) {
    owners.merge(dpkgOwners(rest.mid(begin, kFilesPerCall), stop));
  }
  rest.removeIf([&owners](const QByteArray& file) { return owners.contains(file); });
  owners.merge(rpmOwners(rest, stop));
  return owners;
}

}  // namespace halvard
