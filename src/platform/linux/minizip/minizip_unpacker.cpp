#include "platform/linux/minizip/minizip_unpacker.h"

#include <QDir>
#include <QFile>
#include <array>
#include <cerrno>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unzip.h>

#include "platform/linux/minizip/entry_names.h"
#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {
namespace {

struct CloseArchive {
  void operator()(void* archive) const { unzClose(archive); }
};

struct Entry {
  QByteArray name;
  bool isFolder = false;
};

class Unpacking {
 public:
  Unpacking(unzFile archive, QString destination, const UnpackLimits& limits, std::stop_token stop)
      : m_archive(archive),
        m_destination(std::move(destination)),
        m_limits(limits),
        m_stop(std::move(stop)),
        m_names(limits.maximumDepth) {}

  Result<void> run() {
    int entries = 0;
    int position = unzGoToFirstFile(m_archive);
    for (; position == UNZ_OK; position = unzGoToNextFile(m_archive)) {
      if (++entries > m_limits.maximumEntries) return Error{QStringLiteral("too many entries")};
      if (m_stop.stop_requested()) return Error{QStringLiteral("cancelled")};
      if (const Result<void> unpacked = unpackCurrent(); !unpacked) return unpacked;
    }
    if (position != UNZ_END_OF_LIST_OF_FILE) return Error{QStringLiteral("damaged archive")};
    if (entries == 0) return Error{QStringLiteral("empty archive")};
    return {};
  }

 private:
  Result<void> unpackCurrent() {
    const Result<Entry> entry = describeCurrent();
    if (!entry) return entry.error();
    const Result<QString> path = m_names.accept(entry.value().name, entry.value().isFolder);
    if (!path) return path.error();
    const QString target = m_destination + QLatin1Char('/') + path.value();
    const QString folder = entry.value().isFolder ? target : target.left(target.lastIndexOf(QLatin1Char('/')));
    if (!QDir().mkpath(folder)) return Error{QStringLiteral("cannot make %1").arg(folder)};
    return entry.value().isFolder ? Result<void>() : copyCurrent(target);
  }

  Result<Entry> describeCurrent() {
    unz_file_info64 info{};
    std::array<char, 4096> name{};
    if (unzGetCurrentFileInfo64(m_archive, &info, name.data(), name.size(), nullptr, 0, nullptr, 0) != UNZ_OK) {
      return Error{QStringLiteral("damaged entry")};
    }
    if (info.size_filename >= name.size()) return Error{QStringLiteral("name too long")};
    if ((info.flag & 1) != 0) return Error{QStringLiteral("encrypted entry")};
    // The upper half holds the file's mode where the archive was made on Unix, else 0.
    const auto type = static_cast<mode_t>(info.external_fa >> 16) & S_IFMT;
    if (type != 0 && type != S_IFREG && type != S_IFDIR) return Error{QStringLiteral("link or special file")};
    // The length as stored: a name with a zero byte inside is refused with the other control characters.
    QByteArray stored(name.data(), static_cast<qsizetype>(info.size_filename));
    const bool isFolder = stored.endsWith('/');
    return Entry{std::move(stored), isFolder};
  }

  Result<void> copyCurrent(const QString& target) {
    QFile file(target);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) return Error{file.errorString()};
    if (unzOpenCurrentFile(m_archive) != UNZ_OK) return Error{QStringLiteral("unknown compression")};
    const Result<void> copied = copyBytes(file);
    const bool intact = unzCloseCurrentFile(m_archive) == UNZ_OK;
    if (!copied) return copied;
    return intact ? Result<void>() : Error{QStringLiteral("damaged content")};
  }

  Result<void> copyBytes(QFile& file) {
    std::array<char, 65536> buffer{};
    for (;;) {
      const int count = unzReadCurrentFile(m_archive, buffer.data(), static_cast<unsigned>(buffer.size()));
      if (count < 0) return Error{QStringLiteral("damaged content")};
      if (count == 0) return file.flush() ? Result<void>() : Error{file.errorString()};
      m_written += static_cast<ByteCount>(count);
      if (m_written > m_limits.maximumSize) return Error{QStringLiteral("too large")};
      if (m_stop.stop_requested()) return Error{QStringLiteral("cancelled")};
      if (file.write(buffer.data(), count) != count) return Error{file.errorString()};
    }
  }

  const unzFile m_archive;
  const QString m_destination;
  const UnpackLimits m_limits;
  const std::stop_token m_stop;
  EntryNames m_names;
  ByteCount m_written = 0;
};

/// Brings a folder to stable storage by one request instead of one a file. Made before the files are: it hears of what
/// failed since.
class Storage {
 public:
  explicit Storage(const QString& folder)
      : m_folder(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

  /// A file system that cannot is no error; content that was lost is one.
  Result<void> sync() const {
    if (!m_folder || ::syncfs(m_folder.get()) == 0) return {};
    const int error = errno;
    const bool lost = error == EIO || error == ENOSPC || error == EDQUOT;
    return lost ? Error{qt_error_string(error)} : Result<void>();
  }

 private:
  const FileDescriptor m_folder;
};

}  // namespace

Result<void> MinizipUnpacker::unzipFileAtPath(const QString& archive, const QString& destination,
                                              const UnpackLimits& limits, std::stop_token stop) {
  const std::unique_ptr<void, CloseArchive> file(unzOpen64(QFile::encodeName(archive).constData()));
  if (!file) return Error{QStringLiteral("not a zip archive")};
  const Storage storage(destination);
  const Result<void> unpacked = Unpacking(file.get(), destination, limits, std::move(stop)).run();
  return unpacked ? storage.sync() : unpacked;
}

}  // namespace halvard
