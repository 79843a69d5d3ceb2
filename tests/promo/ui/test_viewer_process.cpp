#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

#include "promo/ui/viewer_page_window.h"
#include "support/process_files.h"
#include "support/zip_builder.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString kViewer = QStringLiteral(HALVARD_BIN_DIR "/halvard-page-viewer");

/// Process ids of what this process has started and is not done with.
QByteArray startedProcesses() {
  const qint64 pid = QCoreApplication::applicationPid();
  return processFile(pid, qPrintable(QStringLiteral("task/%1/children").arg(pid)));
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

 private Q_SLOTS:
  void initTestCase() {
    m_page = QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("a.html")));
    QVERIFY(writeFile(m_page.toLocalFile(), "<p>page</p>"));
  }

  void theEngineNeverComesHereAndGoesWithTheWindow() {
    ViewerPageWindow window(PageWindow::Look::Popup, kViewer);
    QSignalSpy closed(&window, &PageWindow::closed);
    QSignalSpy shown(&window, &ViewerPageWindow::shown);
    begin(window);
    QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 1, 30000);
    QVERIFY(!startedProcesses().isEmpty());
    QVERIFY(!processFile(QCoreApplication::applicationPid(), "maps").contains("WebEngine"));
    window.close();
    QCOMPARE(closed.size(), 1);
    QTRY_VERIFY_WITH_TIMEOUT(startedProcesses().isEmpty(), 10000);
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
    QTRY_VERIFY_WITH_TIMEOUT(startedProcesses().isEmpty(), 10000);
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
