#include <QSignalSpy>
#include <QTemporaryDir>
#include <QWebEngineView>
#include <QtTest>
#include <csignal>

#include "promo/webview/guarded_page.h"
#include "support/test_web_server.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

/// An engine with one page, as the viewer has it, in this process.
struct Engine {
  QWebEngineProfile profile;
  FolderGuard guard;
  GuardedPage page{profile, guard};
  QWebEngineView view;
  QSignalSpy links{&page, &GuardedPage::linkActivated};
  QSignalSpy loaded{&page, &QWebEnginePage::loadFinished};

  Engine() {
    GuardedPage::restrict(profile, guard);
    view.setPage(&page);
    view.resize(400, 300);
    view.show();
  }
  ~Engine() { view.setPage(nullptr); }

  bool show(const QUrl& url) {
    page.showPage(url);
    return QTest::qWaitFor([this] { return loaded.size() > 0; }, 30000);
  }
  QString text() {
    std::optional<QString> result;
    page.toPlainText([&result](const QString& plain) { result = plain; });
    return QTest::qWaitFor([&result] { return result.has_value(); }, 10000) ? *result : QString();
  }
  /// Clicks the page until it takes the click, which it does only once it is drawn, and then waits for `done`: another
  /// click would take back what that one has begun.
  template <class Done>
  bool click(Done done) {
    QSignalSpy begun(&page, &QWebEnginePage::loadStarted);
    const auto isTaken = [&] { return done() || !begun.isEmpty(); };
    for (int attempt = 0; attempt < 20 && !isTaken(); ++attempt) {
      QTest::mouseClick(view.focusProxy(), Qt::LeftButton, {}, {50, 50});
      (void)QTest::qWaitFor(isTaken, 1000);
    }
    return QTest::qWaitFor(done, 15000);
  }
};

QByteArray pageWithLink(const QByteArray& address, const QByteArray& more = {}) {
  return "<body style='margin:0'><a href='" + address + "' " + more +
         " style='display:block;height:300px;background:#def'>link</a></body>";
}

}  // namespace

class TestPageViewer : public QObject {
  Q_OBJECT

 private:
  TestWebServer m_server;
  QTemporaryDir m_outer;

  QUrl write(const char* name, const QByteArray& html) {
    const QString path = m_outer.filePath(QStringLiteral("page/") + QString::fromLatin1(name));
    return writeFile(path, html) ? QUrl::fromLocalFile(path) : QUrl();
  }

 private Q_SLOTS:
  void initTestCase() {
    QDir(m_outer.path()).mkpath(QStringLiteral("page"));
    QVERIFY(writeFile(m_outer.filePath(QStringLiteral("secret.html")), "SECRET"));
  }

  void aPageCannotReachOut_data() {
    QTest::addColumn<QByteArray>("html");
    const QByteArray server = m_server.url(QStringLiteral("/x")).toEncoded();
    const QByteArray secret = QUrl::fromLocalFile(m_outer.filePath(QStringLiteral("secret.html"))).toEncoded();
    const auto row = [](const char* name, const QByteArray& html) { QTest::newRow(name) << html; };
    row("script", "<script>document.write('SECRET')</script><noscript>calm</noscript>");
    row("inline handler", "<img src='none.png' onerror=\"document.body.innerText='SECRET'\">");
    row("script that leaves", "<script>location='" + server + "'</script>");
    row("picture", "<img src='" + server + "'>");
    row("style", "<link rel=stylesheet href='" + server + "'><style>@import '" + server + "';</style>");
    row("prefetch", "<link rel=prefetch href='" + server + "'><link rel=preconnect href='" + server + "'>");
    row("refresh", "<meta http-equiv=refresh content='0;url=" + server + "'>");
    row("refresh to a command", "<meta http-equiv=refresh content='0;url=app://close'>");
    row("refresh to a file", "<meta http-equiv=refresh content='0;url=" + secret + "'>");
    row("frame of the network", "<iframe src='" + server + "'></iframe>");
    row("frame of a file", "<iframe src='" + secret + "'></iframe><object data='" + secret + "'></object>");
    row("frame of data", "<iframe src='data:text/html,SECRET'></iframe>");
    row("media", "<video src='" + server + "' autoplay></video><audio src='" + server + "' autoplay></audio>");
    row("font", "<style>@font-face{font-family:x;src:url(" + server + ")}p{font-family:x}</style><p>x</p>");
  }

  void aPageCannotReachOut() {
    QFETCH(QByteArray, html);
    Engine engine;
    QVERIFY(engine.show(write("a.html", html + "<p>the end</p>")));
    QTRY_VERIFY(engine.text().contains(QLatin1String("the end")));
    QVERIFY(!engine.text().contains(QLatin1String("SECRET")));
    std::optional<QString> source;
    engine.page.toHtml([&source](const QString& text) { source = text; });
    QTRY_VERIFY(source);
    QVERIFY2(m_server.requests().isEmpty(), qPrintable(m_server.requests().join(QLatin1Char(' '))));
    QVERIFY(engine.links.isEmpty());
  }

  void linksAreFollowedWithinTheFolderAndReportedBeyond() {
    const std::pair<QByteArray, const char*> links[] = {
        {pageWithLink("app://close"), "app://close"},
        {pageWithLink("https://a.example/?q=a%20b"), "https://a.example/?q=a b"},
        {pageWithLink("https://a.example/", "target=_blank"), "https://a.example/"},
    };
    for (const auto& [html, reported] : links) {
      Engine engine;
      QVERIFY(engine.show(write("a.html", html)));
      QVERIFY(engine.click([&] { return !engine.links.isEmpty(); }));
      QCOMPARE(engine.links.at(0).at(0).toUrl().toString(), QString::fromLatin1(reported));
      QCOMPARE(engine.page.url().fileName(), QStringLiteral("a.html"));
    }
    Engine engine;
    write("b.html", "<p>second</p>");
    QVERIFY(engine.show(write("a.html", pageWithLink("b.html"))));
    QVERIFY(engine.click([&] { return engine.page.url().fileName() == QLatin1String("b.html"); }));
    QTRY_VERIFY(engine.text().contains(QLatin1String("second")));
    QVERIFY(engine.links.isEmpty());
  }
};

int main(int argc, char** argv) {
  // The engine's own sandbox does not work for root.
  if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
  QApplication application(argc, argv);
  TestPageViewer test;
  return QTest::qExec(&test, argc, argv);
}
#include "test_page_viewer.moc"
