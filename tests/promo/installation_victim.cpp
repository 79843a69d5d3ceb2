// installation_victim SUPPORT-FOLDER SETTINGS-FILE FEED WEEK STEP
//
// One start of a program that keeps the news up to date, WEEK weeks after the first. It kills itself at the STEPth
// thing it does to the outside (0: never), and otherwise ends when nothing is left to do.
#include <QCoreApplication>
#include <QDir>
#include <QTextStream>
#include <QTimer>
#include <atomic>
#include <csignal>

#include <unistd.h>

#include "core/notification_center.h"
#include "news_page.h"
#include "platform/fake/fake_clock.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "promo/html_downloader.h"

using namespace halvard;

namespace {

std::atomic<int> stepsLeft;

void step() {
  if (--stepsLeft == 0) kill(getpid(), SIGKILL);
}

class DyingFetcher : public HttpFetcher {
 public:
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) override {
    step();
    Result<QByteArray> body = m_fetcher.fetch(url, limits, stop);
    step();
    return body;
  }

 private:
  QtHttpFetcher m_fetcher{"Test"};
};

class DyingUnpacker : public ZipUnpacker {
 public:
  Result<void> unzipFileAtPath(const QString& archive, const QString& destination, const UnpackLimits& limits,
                               std::stop_token stop) override {
    step();
    // The first entry alone: dying in the middle.
    UnpackLimits one = limits;
    one.maximumEntries = 1;
    (void)m_unpacker.unzipFileAtPath(archive, destination, one, stop);
    step();
    QFile::remove(destination + QStringLiteral("/news.html"));
    Result<void> done = m_unpacker.unzipFileAtPath(archive, destination, limits, stop);
    step();
    return done;
  }

 private:
  MinizipUnpacker m_unpacker;
};

class DyingStore : public SqliteDefaultsStore {
 public:
  using SqliteDefaultsStore::SqliteDefaultsStore;
  void setObject(const QString& key, StoredValue value) override {
    step();
    SqliteDefaultsStore::setObject(key, std::move(value));
    step();
  }
  bool synchronize() override {
    step();
    const bool done = SqliteDefaultsStore::synchronize();
    step();
    return done;
  }
};

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QStringList words = application.arguments();
  if (words.size() != 6) return 2;
  stepsLeft = words[5].toInt();
  FakeClock clock;
  clock.advance(std::chrono::hours(168 * words[4].toInt()));
  DyingStore store(words[2], QStringLiteral("test"));
  ShowcaseDefaults defaults(store, clock, QStringLiteral("1.0"));
  DyingFetcher fetcher;
  DyingUnpacker unpacker;
  NotificationCenter notifications;
  QObject observer;
  notifications.addObserver(kNewsChanged, &observer, [](const QVariant&) { step(); });
  HTMLDownloader downloader({defaults, fetcher, unpacker, notifications, words[1]}, newsPage(QUrl(words[3])));

  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&downloader] {
    if (!downloader.isBusy()) QCoreApplication::quit();
  });
  timer.start(5);
  const int status = QCoreApplication::exec();
  QFile page(downloader.getHtmlURL().value_or(QUrl()).toLocalFile());
  QTextStream(stdout) << (page.open(QIODevice::ReadOnly) ? QString::fromUtf8(page.readAll()) : QString());
  return status;
}
