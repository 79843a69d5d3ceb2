#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

#include "promo/ui/viewer_page_window.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

const QString kViewer = QStringLiteral(HALVARD_BIN_DIR "/halvard-page-viewer");

QByteArray content(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Process ids of the children of `pid`, and of theirs.
QList<qint64> descendants(qint64 pid) {
  QList<qint64> result;
  for (const QString& task :
       QDir(QStringLiteral("/proc/%1/task").arg(pid)).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    for (const QByteArray& child : content(QStringLiteral("/proc/%1/task/%2/children").arg(pid).arg(task)).split(' ')) {
      if (child.isEmpty()) continue;
      result << child.toLongLong();
      result += descendants(child.toLongLong());
    }
  }
  return result;
}

/// PSS of this process and everything below it, in KiB.
qint64 proportionalSize() {
  qint64 sum = 0;
  QList<qint64> processes = descendants(QCoreApplication::applicationPid());
  processes << QCoreApplication::applicationPid();
  for (const qint64 pid : processes) {
    const QByteArray rollup = content(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
    const qsizetype at = rollup.indexOf("\nPss:");
    if (at >= 0) sum += rollup.mid(at + 5, 24).trimmed().split(' ').value(0).toLongLong();
  }
  return sum;
}

}  // namespace

class TestViewerProcess : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir m_folder;
  QUrl m_page;

  void begin(ViewerPageWindow& window) {
    window.load(m_page, {300, 200});
    window.show(QPoint(10, 300));
  }
  static bool isUp() {
    return QTest::qWaitFor([] { return descendants(QCoreApplication::applicationPid()).size() > 1; }, 30000);
  }

 private Q_SLOTS:
  void initTestCase() {
    m_page = QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("a.html")));
    QVERIFY(writeFile(m_page.toLocalFile(), "<p>page</p>"));
  }

  void theEngineNeverComesHereAndItsMemoryGoesWithTheWindow() {
    {
      // What this process loads with its first window stays.
      ViewerPageWindow first(PageWindow::Look::Popup, kViewer);
      begin(first);
      QVERIFY(isUp());
    }
    QTRY_VERIFY(descendants(QCoreApplication::applicationPid()).isEmpty());
    const qint64 before = proportionalSize();
    qint64 during = 0;
    {
      ViewerPageWindow window(PageWindow::Look::Popup, kViewer);
      QSignalSpy closed(&window, &PageWindow::closed);
      QSignalSpy shown(&window, &ViewerPageWindow::shown);
      begin(window);
      QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 1, 30000);
      during = proportionalSize();
      QVERIFY(!content(QStringLiteral("/proc/self/maps")).contains("WebEngine"));
      window.close();
      QCOMPARE(closed.size(), 1);
      QTRY_VERIFY_WITH_TIMEOUT(descendants(QCoreApplication::applicationPid()).isEmpty(), 10000);
    }
    const qint64 after = proportionalSize();
    qInfo("PSS in KiB: %lld before, %lld with the page, %lld after", before, during, after);
    QVERIFY(during > before + 20 * 1024);
#ifdef __SANITIZE_ADDRESS__
    QSKIP("the sanitizer keeps what is freed");
#endif
    QVERIFY(qAbs(after - before) < 5 * 1024);
  }

  void aViewerThatDiesClosesTheWindow() {
    ViewerPageWindow window(PageWindow::Look::Dialog, kViewer);
    QSignalSpy closed(&window, &PageWindow::closed);
    QSignalSpy shown(&window, &ViewerPageWindow::shown);
    begin(window);
    QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 1, 30000);
    kill(static_cast<pid_t>(window.viewerProcess()), SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, 10000);
    QVERIFY(!window.isStoodInFor());
    QTRY_VERIFY_WITH_TIMEOUT(descendants(QCoreApplication::applicationPid()).isEmpty(), 10000);
  }

  void whereTheViewerDoesNotComeUpRichTextStandsIn() {
    const QString nonsense = m_folder.filePath(QStringLiteral("nonsense"));
    QVERIFY(writeFile(nonsense, "#!/bin/sh\necho hello; echo '[1,'; exit 3\n"));
    QFile::setPermissions(nonsense, QFile::ReadOwner | QFile::ExeOwner);
    for (const QString& program : {QStringLiteral("/nonexistent/viewer"), QStringLiteral("/bin/false"), nonsense}) {
      ViewerPageWindow window(PageWindow::Look::Dialog, program);
      QSignalSpy closed(&window, &PageWindow::closed);
      begin(window);
      QTRY_VERIFY2(window.isStoodInFor(), qPrintable(program));
      QVERIFY(closed.isEmpty());
      window.close();
      QCOMPARE(closed.size(), 1);
    }
  }

  void theViewerEndsWithTheProgramThatStartedIt() {
    QProcess viewer;
    viewer.setStandardErrorFile(QProcess::nullDevice());
    viewer.start(kViewer, {QStringLiteral("dialog")});
    viewer.write("not json\n{\"command\":\"unknown\"}\n{\"command\":\"load\",\"url\":\"" + m_page.toEncoded() +
                 "\",\"width\":-5,\"height\":99999999}\n{\"command\":\"show\"}\n");
    QVERIFY(viewer.waitForReadyRead(30000));
    QCOMPARE(viewer.readLine(), QByteArray("{\"event\":\"shown\"}\n"));
    viewer.closeWriteChannel();
    QVERIFY(viewer.waitForFinished(10000));
    QCOMPARE(viewer.exitStatus(), QProcess::NormalExit);
  }
};

int main(int argc, char** argv) {
  // The engine's own sandbox does not work for root.
  if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
  QApplication application(argc, argv);
  TestViewerProcess test;
  return QTest::qExec(&test, argc, argv);
}
#include "test_viewer_process.moc"
