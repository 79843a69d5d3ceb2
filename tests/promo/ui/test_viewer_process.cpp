#include <QtTest>
#include <csignal>

#include "promo/ui/viewer_page_window.h"
#include "support/process_files.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString kViewer = text(HALVARD_BIN_DIR "/halvard-page-viewer");

/// Process ids of what this process has started and is not done with.
QByteArray startedProcesses() {
  const qint64 pid = QCoreApplication::applicationPid();
  return processFile(pid, qPrintable(text("task/%1/children").arg(pid)));
}

}  // namespace

class TestViewerProcess : public QObject {
  Q_OBJECT

 public:
  static void initMain() {
    // The engine's own sandbox does not work for root.
    if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
  }

 private:
  const TestFolder m_folder;
  const QUrl m_page = QUrl::fromLocalFile(m_folder.write("a.html", "<p>page</p>"));

  void begin(ViewerPageWindow& window) {
    window.load(m_page, {300, 200});
    window.show(QPoint(10, 300));
  }

 private Q_SLOTS:
  void theEngineNeverComesHereAndEndsWithTheWindowAsTheWindowWithIt() {
    for (const bool dies : {false, true}) {
      ViewerPageWindow window(dies ? PageWindow::Look::Dialog : PageWindow::Look::Popup, kViewer);
      QSignalSpy closed(&window, &PageWindow::closed);
      QSignalSpy shown(&window, &ViewerPageWindow::shown);
      begin(window);
      QTRY_COMPARE_WITH_TIMEOUT(shown.size(), 1, 30000);
      QVERIFY(!startedProcesses().isEmpty());
      QVERIFY(!processFile(QCoreApplication::applicationPid(), "maps").contains("WebEngine"));
      dies ? void(kill(static_cast<pid_t>(window.viewerProcess()), SIGKILL)) : window.close();
      QVERIFY(dies || closed.size() == 1);
      QTRY_COMPARE_WITH_TIMEOUT(closed.size(), 1, 10000);
      QVERIFY(!window.isStoodInFor());
      QTRY_VERIFY_WITH_TIMEOUT(startedProcesses().isEmpty(), 10000);
    }
  }

  void whereTheViewerDoesNotComeUpRichTextStandsIn() {
    const QString nonsense = m_folder.write("nonsense", "#!/bin/sh\necho hello; echo '[1,'; exit 3\n");
    for (const QString& program : {text("/nonexistent/viewer"), text("/bin/false"), nonsense}) {
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
    viewer.start(kViewer, {text("dialog")});
    viewer.write("not json\n{\"command\":\"unknown\"}\n{\"command\":\"load\",\"url\":\"" + m_page.toEncoded() +
                 "\",\"width\":-5,\"height\":99999999}\n{\"command\":\"show\"}\n");
    QVERIFY(viewer.waitForReadyRead(30000));
    QCOMPARE(viewer.readLine(), QByteArray("{\"event\":\"shown\"}\n"));
    viewer.closeWriteChannel();
    QVERIFY(viewer.waitForFinished(10000));
    QCOMPARE(viewer.exitStatus(), QProcess::NormalExit);
  }
};

QTEST_MAIN(TestViewerProcess)
#include "test_viewer_process.moc"
