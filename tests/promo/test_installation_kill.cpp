#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "support/test_web_server.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

struct Outcome {
  bool wasKilled = false;
  QByteArray page;
};

/// One user's machine; each start is a process of its own.
struct Machine {
  QTemporaryDir folder;
  QUrl feed;

  Outcome start(int week, int killAtStep) const {
    QProcess program;
    program.start(QStringLiteral(INSTALLATION_VICTIM),
                  {folder.path(), folder.filePath(QStringLiteral("config/defaults.db")), feed.toString(),
                   QString::number(week), QString::number(killAtStep)});
    if (!program.waitForFinished(30000)) qFatal("a start never ends");
    return {program.exitStatus() == QProcess::CrashExit, program.readAllStandardOutput()};
  }
  QStringList pages() const {
    return QDir(folder.filePath(QStringLiteral("Halvard"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
  }
};

}  // namespace

class TestInstallationKill : public QObject {
  Q_OBJECT

 private:
  TestWebServer m_server;

  void announce(int version) {
    const QByteArray number = QByteArray::number(version);
    m_server.answer(QStringLiteral("/n.xml"),
                    {.body = "<f><news><version>" + number + "</version><url>v.zip</url></news></f>"});
    m_server.answer(QStringLiteral("/v.zip"),
                    {.body = zipArchive({{"news.html", "page " + number}, {"a.css", "p{}"}, {"i/b.png", "b"}})});
  }

 private Q_SLOTS:
  void killedAtAnyStepTheNextStartShowsAPageAndNothingCollects() {
    int step = 1;
    for (;; ++step) {
      Machine machine{.folder = {}, .feed = m_server.url(QStringLiteral("/n.xml"))};
      announce(1);
      QCOMPARE(machine.start(0, 0).page, QByteArray("page 1"));
      announce(2);
      const Outcome killed = machine.start(1, step);
      const Outcome next = machine.start(1, 0);
      const QByteArray where = "step " + QByteArray::number(step) + ": " + next.page;
      QVERIFY2(!next.wasKilled && (next.page == "page 1" || next.page == "page 2"), where.constData());
      QVERIFY2(machine.pages().size() == 1, where.constData());
      QCOMPARE(machine.start(2, 0).page, QByteArray("page 2"));
      QCOMPARE(machine.pages().size(), 1);
      if (!killed.wasKilled) break;
    }
    QVERIFY2(step > 20, "every step was reached");
  }

  void killedInEveryAttemptTheFoldersLeftOverStayFew() {
    Machine machine{.folder = {}, .feed = m_server.url(QStringLiteral("/n.xml"))};
    announce(1);
    QCOMPARE(machine.start(0, 0).page, QByteArray("page 1"));
    for (int week = 1; week <= 12; ++week) {
      announce(1 + (week + 3) / 4);
      constexpr int whileUnpacking = 10;
      QVERIFY(machine.start(week, whileUnpacking).wasKilled);
      QVERIFY2(machine.pages().size() >= 2, "the interrupted installation left something");
      QVERIFY2(machine.pages().size() <= 3, qPrintable(machine.pages().join(QLatin1Char(' '))));
    }
    QCOMPARE(machine.start(13, 0).page, QByteArray("page 4"));
    QCOMPARE(machine.pages().size(), 1);
  }
};

QTEST_GUILESS_MAIN(TestInstallationKill)
#include "test_installation_kill.moc"
