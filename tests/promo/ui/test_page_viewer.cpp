#include <QWebEngineView>
#include <QtTest>
#include <csignal>

#include "promo/webview/guarded_page.h"
#include "support/test_folder.h"
#include "support/test_web_server.h"
#include "support/texts.h"

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

 public:
  static void initMain() {
    // The engine's own sandbox does not work for root.
    if (geteuid() == 0) qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
  }

 private:
  TestWebServer m_server;
  const TestFolder m_outer;

  QUrl write(const char* name, const QByteArray& html) { return QUrl::fromLocalFile(m_outer.write(name, html)); }

 private Q_SLOTS:
  void aPageCannotReachOut() {
    const QByteArray server = m_server.url(text("/x")).toEncoded();
    const QByteArray secret = write("secret.html", "SECRET").toEncoded();
    const std::pair<const char*, QByteArray> pages[] = {
        {"script", "<script>document.write('SECRET')</script><noscript>calm</noscript>"},
        {"inline handler", "<img src='none.png' onerror=\"document.body.innerText='SECRET'\">"},
        {"script that leaves", "<script>location='" + server + "'</script>"},
        {"picture", "<img src='" + server + "'>"},
        {"style", "<link rel=stylesheet href='" + server + "'><style>@import '" + server + "';</style>"},
        {"prefetch", "<link rel=prefetch href='" + server + "'><link rel=preconnect href='" + server + "'>"},
        {"refresh", "<meta http-equiv=refresh content='0;url=" + server + "'>"},
        {"refresh to a command", "<meta http-equiv=refresh content='0;url=app://close'>"},
        {"refresh to a file", "<meta http-equiv=refresh content='0;url=" + secret + "'>"},
        {"frame of the network", "<iframe src='" + server + "'></iframe>"},
        {"frame of a file", "<iframe src='" + secret + "'></iframe><object data='" + secret + "'></object>"},
        {"frame of data", "<iframe src='data:text/html,SECRET'></iframe>"},
        {"media", "<video src='" + server + "' autoplay></video><audio src='" + server + "' autoplay></audio>"},
        {"font", "<style>@font-face{font-family:x;src:url(" + server + ")}p{font-family:x}</style><p>x</p>"},
    };
    for (const auto& [name, html] : pages) {
      Engine engine;
      QVERIFY2(engine.show(write("page/a.html", html + "<p>the end</p>")), name);
      QTRY_VERIFY2(engine.text().contains(QLatin1String("the end")), name);
      QVERIFY2(!engine.text().contains(QLatin1String("SECRET")), name);
      std::optional<QString> source;
      engine.page.toHtml([&source](const QString& text) { source = text; });
      QTRY_VERIFY2(source, name);
      QVERIFY2(m_server.requests().isEmpty() && engine.links.isEmpty(), name);
    }
  }

  void linksAreFollowedWithinTheFolderAndReportedBeyond() {
    const std::pair<QByteArray, const char*> links[] = {
        {pageWithLink("app://close"), "app://close"},
        {pageWithLink("https://a.example/?q=a%20b"), "https://a.example/?q=a b"},
        {pageWithLink("https://a.example/", "target=_blank"), "https://a.example/"},
    };
    for (const auto& [html, reported] : links) {
      Engine engine;
      QVERIFY(engine.show(write("page/a.html", html)));
      QVERIFY(engine.click([&] { return !engine.links.isEmpty(); }));
      QCOMPARE(engine.links.at(0).at(0).toUrl().toString(), text(reported));
      QCOMPARE(engine.page.url().fileName(), text("a.html"));
    }
    Engine engine;
    write("page/b.html", "<p>second</p>");
    QVERIFY(engine.show(write("page/a.html", pageWithLink("b.html"))));
    QVERIFY(engine.click([&] { return engine.page.url().fileName() == QLatin1String("b.html"); }));
    QTRY_VERIFY(engine.text().contains(QLatin1String("second")));
    QVERIFY(engine.links.isEmpty());
  }
};

QTEST_MAIN(TestPageViewer)
#include "test_page_viewer.moc"
