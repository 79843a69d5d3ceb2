#include "files_searcher/disk_commands.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <algorithm>
#include <tuple>
#include <utility>

#include "core/size_format.h"
#include "files_searcher/duplicates_searcher.h"
#include "files_searcher/large_and_old_searcher.h"
#include "files_searcher/searcher_manager.h"
#include "files_searcher/size_calculation.h"

namespace halvard {
namespace {

constexpr int kSuccess = 0;
constexpr int kFailure = 1;
constexpr int kUsage = 2;
constexpr int kSizeThreads = 4;
constexpr int kProgressMilliseconds = 200;

/// One line on a terminal that tells how far the searches are, as long as it lives. It never goes back when one search
/// follows another.
class ProgressLine {
 public:
  ProgressLine(const FileMetadataQueryService& queries, std::FILE* terminal) : m_terminal(terminal) {
    QObject::connect(&m_timer, &QTimer::timeout, [this, &queries] {
      m_shown = std::max(m_shown, queries.progress());
      std::fprintf(m_terminal, "\rScanning... %3d %%", static_cast<int>(m_shown * 100));
      std::fflush(m_terminal);
    });
    if (m_terminal) m_timer.start(kProgressMilliseconds);
  }
  ~ProgressLine() {
    if (!m_terminal) return;
    std::fputs("\r\033[K", m_terminal);
    std::fflush(m_terminal);
  }
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

 private:
  std::FILE* const m_terminal;
  QTimer m_timer;
  double m_shown = 0;
};

/// Collects the four figures and ends a loop with the last.
struct Collector : SearcherManagerDelegate {
  explicit Collector(QEventLoop& waiting) : loop(waiting) {}
  void onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) override { keep(junk, info); }
  void onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) override {
    keep(applications, info);
  }
  void onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) override {
    keep(large, info);
  }
  void onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) override { keep(duplicates, info); }

  template <class Info>
  void keep(std::optional<Info>& place, const Info& info) {
    place = info;
    if (junk && applications && large && duplicates) loop.quit();
  }
  QEventLoop& loop;
  std::optional<JunkFilesViewInfo> junk;
  std::optional<ApplicationsUnusedViewInfo> applications;
  std::optional<LargeAndOldFilesViewInfo> large;
  std::optional<DuplicateFilesViewInfo> duplicates;
};

qint64 number(ByteCount bytes) {
  return static_cast<qint64>(bytes);
}

template <class Info>
QJsonObject counted(const Info& info) {
  return {{QStringLiteral("size"), number(info.size)}, {QStringLiteral("count"), number(info.count)}};
}

QJsonObject record(const Collector& found) {
  const QJsonObject junk{{QStringLiteral("caches"), number(found.junk->cachesSize)},
                         {QStringLiteral("downloads"), number(found.junk->downloadsSize)},
                         {QStringLiteral("trash"), number(found.junk->trashSize)}};
  return {{QStringLiteral("junk"), junk},
          {QStringLiteral("applications"), counted(*found.applications)},
          {QStringLiteral("largeAndOld"), counted(*found.large)},
          {QStringLiteral("duplicates"), counted(*found.duplicates)},
          {QStringLiteral("total"),
           number(found.junk->total() + found.applications->size + found.large->size + found.duplicates->size)}};
}

QByteArray text(ByteCount bytes) {
  return size_format::stringFromSize(static_cast<std::int64_t>(bytes)).toUtf8();
}

template <class Info>
QByteArray figureLine(const QByteArray& name, const Info& info, const QByteArray& what) {
  return name.leftJustified(16) + text(info.size).rightJustified(12) + "  " +
         QByteArray::number(static_cast<qulonglong>(info.count)) + ' ' + what;
}

/// A path on one line: control characters as in C, the other bytes as they are.
QByteArray onOneLine(const QByteArray& path) {
  QByteArray line;
  for (const char byte : path) {
    const auto code = static_cast<unsigned char>(byte);
    if (byte == '\n') {
      line += "\\n";
    } else if (byte == '\\') {
      line += "\\\\";
    } else if (code < 0x20 || code == 0x7f) {
      line += "\\x" + QByteArray::number(code, 16).rightJustified(2, '0');
    } else {
      line += byte;
    }
  }
  return line;
}

/// JSON holds text; bytes that are none become replacement characters.
QString asText(const QByteArray& path) {
  return QString::fromUtf8(path);
}

QByteArray compact(const QJsonDocument& document) {
  return document.toJson(QJsonDocument::Compact);
}

}  // namespace

DiskCommands::DiskCommands(const DiskSearchServices& services, const DefaultsStore& store, std::FILE* output,
                           std::FILE* errors, bool showsProgress)
    : m_services(services), m_store(store), m_output(output), m_errors(errors), m_showsProgress(showsProgress) {}

std::optional<int> DiskCommands::run(const QByteArrayList& words) const {
  const QByteArray command = words.value(0);
  const QByteArrayList arguments = words.mid(1);
  if (command == "size") return size(arguments);
  if (command != "scan" && command != "large" && command != "duplicates") return {};
  const bool json = arguments == QByteArrayList{"--json"};
  if (!json && !arguments.isEmpty())
    return usageError("unknown argument '" + onOneLine(arguments.first()) + "': usage: " + command + " [--json]");
  if (command == "scan") return scan(json);
  return command == "large" ? large(json) : duplicates(json);
}

int DiskCommands::size(const QByteArrayList& arguments) const {
  QByteArrayList paths = arguments;
  const bool ignores = paths.removeOne("--ignore-root-ds-store");
  if (paths.size() != 1 || paths.first().isEmpty() || paths.first().startsWith("--"))
    return usageError("usage: size PATH [--ignore-root-ds-store]");
  const auto found = m_services.reader.attributes(paths.first());
  if (!found) {
    usageError("no such file or folder: " + onOneLine(paths.first()));
    return kFailure;
  }
  if (found->type == EntryType::Folder && !m_services.reader.open(paths.first())) {
    usageError("the folder cannot be read: " + onOneLine(paths.first()));
    return kFailure;
  }
  const SizeCalculation sizes(m_services.reader, kSizeThreads);
  print(QByteArray::number(static_cast<qulonglong>(sizes.fastFolderSizeOfItemWithPath(paths.first(), ignores))));
  return kSuccess;
}

int DiskCommands::scan(bool json) const {
  QEventLoop loop;
  Collector found(loop);
  SearcherManager manager(m_services, m_store);
  {
    const ProgressLine progress(m_services.queries, m_showsProgress ? m_errors : nullptr);
    manager.startSearchWithDelegate(found, true);
    loop.exec();
  }
  if (json) {
    print(compact(QJsonDocument(record(found))));
    return kSuccess;
  }
  print(QByteArray("Junk files").leftJustified(16) + text(found.junk->total()).rightJustified(12) + "  caches " +
        text(found.junk->cachesSize) + ", downloads " + text(found.junk->downloadsSize) + ", trash " +
        text(found.junk->trashSize));
  print(figureLine("Duplicates", *found.duplicates, "files"));
  print(figureLine("Large and old", *found.large, "files"));
  print(figureLine("Applications", *found.applications, "applications"));
  print(QByteArray("Total").leftJustified(16) + text(manager.getTotalCalculatedSize()).rightJustified(12));
  return kSuccess;
}

int DiskCommands::large(bool json) const {
  std::optional<ProgressLine> progress(std::in_place, m_services.queries, m_showsProgress ? m_errors : nullptr);
  const auto results = search({m_services.paths.getCurrentDiskDirectory()}, LargeAndOldSearcher::predicate());
  if (!results) return kFailure;
  std::vector<FoundFile> files = oldFiles(m_services, results.get(), {});
  std::sort(files.begin(), files.end(), [](const FoundFile& first, const FoundFile& second) {
    return std::tie(second.size, first.path) < std::tie(first.size, second.path);
  });
  progress.reset();
  QJsonArray list;
  for (const FoundFile& file : files) {
    if (json) {
      list << QJsonObject{{QStringLiteral("path"), asText(file.path)}, {QStringLiteral("size"), number(file.size)}};
    } else {
      print(text(file.size).rightJustified(12) + "  " + onOneLine(file.path));
    }
  }
  if (json) print(compact(QJsonDocument(list)));
  return kSuccess;
}

int DiskCommands::duplicates(bool json) const {
  std::optional<ProgressLine> progress(std::in_place, m_services.queries, m_showsProgress ? m_errors : nullptr);
  const auto scopes = DuplicatesSearcher::scopes(m_services.reader, m_services.paths);
  ResultSets files;
  Separator groups;
  for (const ByteCount limit : {DuplicatesSearcher::kOneMegabyte, DuplicatesSearcher::kFiftyKilobytes}) {
    files.push_back(search(scopes, DuplicatesSearcher::predicateForSizeLimit(limit)));
    if (!files.back()) return kFailure;
    groups = DuplicatesSearcher::findDuplicatesInFiles(files);
    if (groups.calculateTotalSizeOfDuplicates().size >= DuplicatesSearcher::kEnough) break;
  }
  progress.reset();
  QJsonArray list;
  groups.forEachGroup([&](const Separator::Group& group) {
    QJsonArray paths;
    if (!json) print(text(group.size) + " each, " + QByteArray::number(group.items.size()) + " files");
    for (const Separator::Item item : group.items) {
      const QByteArray path = pathOfItem(files, item);
      if (json) {
        paths << asText(path);
      } else {
        print("  " + onOneLine(path));
      }
    }
    if (json) list << QJsonObject{{QStringLiteral("size"), number(group.size)}, {QStringLiteral("paths"), paths}};
  });
  if (json) print(compact(QJsonDocument(list)));
  return kSuccess;
}

std::shared_ptr<const FileMetadataResults> DiskCommands::search(std::vector<QByteArray> scopes,
                                                                FileMetadataPredicate predicate) const {
  QEventLoop loop;
  std::shared_ptr<const FileMetadataResults> found;
  const auto query = m_services.queries.startQuery(std::move(scopes), predicate, [&](auto results) {
    found = std::move(results);
    loop.quit();
  });
  if (!query) return nullptr;
  if (!found) loop.exec();
  return found;
}

int DiskCommands::usageError(const QByteArray& message) const {
  std::fprintf(m_errors, "halvardctl: %s\n", message.constData());
  return kUsage;
}

void DiskCommands::print(const QByteArray& line) const {
  std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), m_output);
  std::fputc('\n', m_output);
  std::fflush(m_output);
}

}  // namespace halvard
