#include "lifecycle/bundle_copy.h"

#include <QFile>
#include <QFileInfo>
#include <filesystem>
#include <optional>
#include <system_error>

namespace halvard::bundle_copy {
namespace {

namespace fs = std::filesystem;

constexpr qsizetype kBlockSize = 1024 * 1024;

fs::path pathOf(const QString& text) {
  return QFile::encodeName(text).toStdString();
}

QString hiddenBeside(const QString& target, const QString& suffix) {
  const QFileInfo file(target);
  return QStringLiteral("%1/.%2.%3").arg(file.path(), file.fileName(), suffix);
}

void removeAll(const QString& path) {
  std::error_code ignored;
  fs::remove_all(pathOf(path), ignored);
}

QString textOf(const std::error_code& code) {
  return QString::fromLocal8Bit(code.message().c_str());
}

/// A disk that runs full takes a part first, and only then says why.
bool writeAll(QFile& file, const char* bytes, qint64 length) {
  while (length > 0) {
    const qint64 written = file.write(bytes, length);
    if (written <= 0) return false;
    bytes += written;
    length -= written;
  }
  return true;
}

/// Nothing, or what the system says against it: the ready-made copying of both libraries calls a full disk an unknown
/// error.
std::optional<QString> copyFile(const fs::path& from, const fs::path& to) {
  QFile source(from), copy(to);
  if (!source.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return source.errorString();
  if (!copy.open(QIODevice::WriteOnly | QIODevice::Unbuffered | QIODevice::NewOnly)) return copy.errorString();
  QByteArray block(kBlockSize, Qt::Uninitialized);
  qint64 length = 0;
  while ((length = source.read(block.data(), block.size())) > 0) {
    if (!writeAll(copy, block.constData(), length)) return copy.errorString();
  }
  if (length < 0) return source.errorString();
  if (!copy.setPermissions(source.permissions())) return copy.errorString();
  return std::nullopt;
}

std::optional<QString> copyEntry(const fs::path& from, const fs::path& to) {
  std::error_code code;
  switch (fs::symlink_status(from, code).type()) {
    case fs::file_type::regular:
      return copyFile(from, to);
    case fs::file_type::symlink:
      fs::copy_symlink(from, to, code);
      break;
    case fs::file_type::directory:
      fs::create_directory(to, from, code);
      break;
    default:
      return QStringLiteral("%1 is neither a file nor a folder").arg(QFile::decodeName(from.c_str()));
  }
  return code ? std::optional(textOf(code)) : std::nullopt;
}

std::optional<QString> copyTree(const fs::path& from, const fs::path& to) {
  std::error_code code;
  const bool isFolder = fs::is_directory(fs::symlink_status(from, code));
  if (code) return textOf(code);
  std::optional<QString> failed = copyEntry(from, to);
  if (failed || !isFolder) return failed;
  for (fs::recursive_directory_iterator entry(from, code), end; !code && entry != end; entry.increment(code)) {
    if ((failed = copyEntry(entry->path(), to / entry->path().lexically_relative(from)))) return failed;
  }
  return code ? std::optional(textOf(code)) : std::nullopt;
}

Error failure(const QString& what, const QString& path, const QString& reason) {
  return {QStringLiteral("%1 %2: %3").arg(what, path, reason)};
}

}  // namespace

Result<QString> stage(const QString& bundle, const QString& target) {
  const QString staged = hiddenBeside(target, QStringLiteral("new"));
  removeAll(staged);
  std::error_code code;
  fs::create_directories(pathOf(QFileInfo(target).path()), code);
  const auto failed = code ? std::optional(textOf(code)) : copyTree(pathOf(bundle), pathOf(staged));
  if (!failed) return staged;
  removeAll(staged);
  return failure(QStringLiteral("cannot copy to"), target, *failed);
}

Result<void> putInPlace(const QString& staged, const QString& target) {
  const QString former = hiddenBeside(target, QStringLiteral("old"));
  removeAll(former);
  std::error_code code;
  const bool replaces = fs::exists(fs::symlink_status(pathOf(target), code));
  if (!replaces) code.clear();  // "there is none" is one of its errors
  if (replaces) fs::rename(pathOf(target), pathOf(former), code);
  if (!code) {
    fs::rename(pathOf(staged), pathOf(target), code);
    std::error_code ignored;
    if (code && replaces) fs::rename(pathOf(former), pathOf(target), ignored);
  }
  removeAll(code ? staged : former);
  if (code) return failure(QStringLiteral("cannot replace"), target, textOf(code));
  return {};
}

}  // namespace halvard::bundle_copy
