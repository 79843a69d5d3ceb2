#include <QtTest>
#include <atomic>
#include <csignal>

#include <unistd.h>

#include "core/notification_center.h"
#include "news_page.h"
#include "platform/fake/fake_clock.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

using namespace halvard;

namespace {

std::atomic<int> stepsLeft;

void step() {
  if (--stepsLeft == 0) kill(getpid(), SIGKILL);
}

template <class Call>
auto between(Call call) {
  step();
  auto result = call();
  step();
  return result;
}

struct DyingFetcher : FakeHttpFetcher {
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) override {
    return between([&] { return FakeHttpFetcher::fetch(url, limits, stop); });
  }
};

struct DyingUnpacker : MinizipUnpacker {
  Result<void> unzipFileAtPath(const QString& archive, const QString& destination, const UnpackLimits& limits,
                               std::stop_token stop) override {
    const auto unpack = [&](const UnpackLimits& some) {
      return between([&] { return MinizipUnpacker::unzipFileAtPath(archive, destination, some, stop); });
    };
    // The first entry alone: dying in the middle.
    UnpackLimits one = limits;
    one.maximumEntries = 1;
    (void)unpack(one);
    QFile::remove(destination + text("/news.html"));
    return unpack(limits);
  }
};

struct DyingStore : SqliteDefaultsStore {
  using SqliteDefaultsStore::SqliteDefaultsStore;
  void setObject(const QString& key, StoredValue value) override {
    step();
    SqliteDefaultsStore::setObject(key, std::move(value));
    step();
  }
  bool synchronize() override {
    return between([this] { return SqliteDefaultsStore::synchronize(); });
  }
};

/// The life of a process started with FOLDER WEEK VERSION STEP: one start of a program that keeps the news up to date,
/// WEEK weeks after the first, when VERSION is the newest. It kills itself at the STEPth thing it does to the outside
/// (0: never), and otherwise ends when nothing is left to do and prints the page it shows.
void live(const QString& folder, int week, int version) {
  DyingFetcher fetcher;
  publish(fetcher, version);
  FakeClock clock;
  clock.advance(std::chrono::hours(168 * week));
  DyingStore store(folder + text("/config/defaults.db"), text("test"));
  ShowcaseDefaults defaults(store, clock, text("1.0"));
  DyingUnpacker unpacker;
  NotificationCenter notifications;
  QObject observer;
  notifications.addObserver(kNewsChanged, &observer, [](const QVariant&) { step(); });
  HTMLDownloader downloader({defaults, fetcher, unpacker, notifications, folder}, newsPage());
  if (!QTest::qWaitFor([&] { return !downloader.isBusy(); }, 20000)) qFatal("a start never ends");
  QTextStream(stdout) << QString::fromUtf8(shownBy(downloader));
}

struct Outcome {
  bool wasKilled = false;
  QByteArray page;
};

/// One user's machine; each start is a process of its own.
struct Machine {
  QTemporaryDir folder;

  Outcome start(int week, int version, int killAtStep = 0) const {
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(),
                  {folder.path(), QString::number(week), QString::number(version), QString::number(killAtStep)});
    if (!program.waitForFinished(30000)) qFatal("a start never ends");
    return {program.exitStatus() == QProcess::CrashExit, program.readAllStandardOutput()};
  }
  QStringList pages() const {
    return QDir(folder.filePath(text("Halvard"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
  }
};

}  // namespace

class TestInstallationKill : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void killedAtAnyStepTheNextStartShowsAPageAndNothingCollects() {
    int step = 1;
    for (;; ++step) {
      const Machine machine;
      QCOMPARE(machine.start(0, 1).page, QByteArray("page 1"));
      const Outcome killed = machine.start(1, 2, step);
      const Outcome next = machine.start(1, 2);
      const QByteArray where = "step " + QByteArray::number(step) + ": " + next.page;
      QVERIFY2(!next.wasKilled && (next.page == "page 1" || next.page == "page 2"), where.constData());
      QVERIFY2(machine.pages().size() == 1, where.constData());
      QCOMPARE(machine.start(2, 2).page, QByteArray("page 2"));
      QCOMPARE(machine.pages().size(), 1);
      if (!killed.wasKilled) break;
    }
    QVERIFY2(step > 20, "every step was reached");
  }

  void killedInEveryAttemptTheFoldersLeftOverStayFew() {
    const Machine machine;
    QCOMPARE(machine.start(0, 1).page, QByteArray("page 1"));
    for (int week = 1; week <= 12; ++week) {
      constexpr int whileUnpacking = 10;
      QVERIFY(machine.start(week, 1 + (week + 3) / 4, whileUnpacking).wasKilled);
      QVERIFY2(machine.pages().size() >= 2, "the interrupted installation left something");
      QVERIFY2(machine.pages().size() <= 3, qPrintable(machine.pages().join(u' ')));
    }
    QCOMPARE(machine.start(13, 4).page, QByteArray("page 4"));
    QCOMPARE(machine.pages().size(), 1);
  }
};

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const QStringList words = QCoreApplication::arguments();
  if (words.size() == 5) {
    stepsLeft = words[4].toInt();
    live(words[1], words[2].toInt(), words[3].toInt());
    return 0;
  }
  TestInstallationKill test;
  return QTest::qExec(&test, argc, argv);
}
#include "test_installation_kill.moc"
