#include <QSignalSpy>
#include <QtTest>

#include "fake_page_window.h"
#include "promo/promo_fixture.h"
#include "promo/ui/news_dialog_wc.h"
#include "promo/ui/page_frame.h"
#include "promo/ui/page_text_view.h"
#include "promo/ui/rate_dialog_view.h"
#include "promo/ui/rate_dialog_wc.h"
#include "promo/ui/rate_star_button.h"
#include "promo/ui/showcase_dialog_wc.h"
#include "support/test_folder.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

struct Fixture : PromoFixture {
  FakePageWindow::Record record;
  FakePageWindow* window = nullptr;
  std::unique_ptr<PromoManager> promo;

  Fixture() {
    giveAddresses();
    promo = manager();
  }
  PageWindow::Make maker() {
    return [this](PageWindow::Look) { return std::make_unique<FakePageWindow>(record, window); };
  }
};

const QUrl kWebPage(text("https://a.example/"));

}  // namespace

class TestPromoDialogs : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void theNewsOpenOnceAndGoWithTheFocus() {
    Fixture f;
    NewsDialogWC news(*f.promo, f.workspace, f.notifications, f.clock, f.maker());
    news.showAtPosition({100, 50});
    QVERIFY(news.visible() && !f.promo->isHasFreshNews());
    QCOMPARE(f.record.corner, QPoint(85, 65));
    QCOMPARE(f.record.loads.at(0).second, QSize(382, 337));
    news.showAtPosition({1, 1});
    QCOMPARE(f.record.shows, 1);
    f.notifications.post(NewsDialogWC::NewsHtmlChangedNotificationName());
    QCOMPARE(f.record.loads.size(), std::size_t{2});
    Q_EMIT f.window->linkActivated(kWebPage);
    Q_EMIT f.window->linkActivated(QUrl(text("app://startusingapp")));
    QCOMPARE(f.workspace.opened, QList<QUrl>{kWebPage});
    QVERIFY2(f.record.isOpen && f.record.loads.size() == 2, "web links leave the window alone");
    Q_EMIT f.window->resignedKey();
    QVERIFY(!f.record.isOpen);
    f.clock.advance(99ms);
    news.showAtPosition({100, 50});
    QVERIFY2(news.visible() && !f.record.isOpen, "the click that closed it does not open it");
    f.clock.advance(1ms);
    QVERIFY(!news.visible());
    news.showAtPosition({100, 50});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Q_EMIT f.window->linkActivated(QUrl(text("app://close")));
    QVERIFY(!f.record.isOpen);
    f.notifications.post(NewsDialogWC::NewsHtmlChangedNotificationName());
    QCOMPARE(f.record.loads.size(), std::size_t{3});
  }

  void theShowcaseOpensReloadsAndLeadsToTheMainWindow() {
    Fixture f;
    ShowcaseDialogWC showcase(*f.promo, f.workspace, f.notifications, f.clock, f.maker());
    QSignalSpy mainWindow(&showcase, &ShowcaseDialogWC::mainWindowRequested);
    QSignalSpy closed(&showcase, &ShowcaseDialogWC::closed);
    showcase.pleaseShowWindow();
    QVERIFY2(!showcase.isOpen(), "after the current event");
    f.clock.advance(0ms);
    QCOMPARE(f.record.loads.at(0).second, QSize(713, 356));
    QVERIFY(!f.record.corner);
    f.notifications.post(ShowcaseDialogWC::ShowcaseHtmlChangedNotificationName());
    QCOMPARE(f.record.loads.size(), std::size_t{2});
    showcase.pleaseShowWindowSafe();
    QCOMPARE(f.record.shows, 2);
    QVERIFY2(closed.isEmpty(), "replaced, not closed");
    Q_EMIT f.window->linkActivated(kWebPage);
    QCOMPARE(f.workspace.opened, QList<QUrl>{kWebPage});
    Q_EMIT f.window->linkActivated(QUrl(text("app://startusingapp")));
    QVERIFY(!showcase.isOpen());
    QCOMPARE(mainWindow.size(), 1);
    QCOMPARE(closed.size(), 1);
  }

  void starsFollowThePointer() {
    FakeClock clock;
    RateDialogView view({}, 0, clock);
    Q_EMIT view.starButton(3).mouseEntered();
    QVERIFY(view.starButton(3).isGold() && !view.starButton(4).isGold());
    clock.advance(1ms);
    Q_EMIT view.starButton(3).mouseExited();
    Q_EMIT view.starButton(4).mouseEntered();
    clock.advance(0ms);
    QVERIFY2(view.starButton(4).isGold(), "on the next star since");
    clock.advance(1ms);
    Q_EMIT view.starButton(4).mouseExited();
    clock.advance(0ms);
    QVERIFY(!view.starButton(1).isGold());
  }

  void aStarLeadsToTheStoreOrToAMail() {
    for (int star = 1; star <= RateDialogView::kStars; ++star) {
      Fixture f;
      RateDialgoWC rate(*f.promo, f.defaults, f.clock);
      rate.pleaseShowWindow();
      QVERIFY(!rate.window());
      f.clock.advance(0ms);
      QVERIFY(rate.window() && rate.window()->isVisible());
      QVERIFY(!f.defaults.isUserAlreadyСlickedOnStar());
      rate.view()->starButton(star).click();
      QCOMPARE(f.workspace.opened.size(), 1);
      QCOMPARE(f.workspace.opened.constFirst().scheme(), star < 4 ? text("mailto") : text("https"));
      QVERIFY(f.defaults.isUserAlreadyСlickedOnStar());
      QVERIFY(!rate.window());
    }
  }

  void thePageFrameStaysOnTheScreenAndKeepsItsCentre() {
    PageFrame popup(PageWindow::Look::Popup, new QWidget);
    popup.setContentSize({382, 337});
    const QRect room = popup.screen()->availableGeometry();
    popup.present(room.bottomRight() + QPoint(500, 500));
    QVERIFY(room.contains(popup.geometry()));
    PageFrame dialog(PageWindow::Look::Dialog, new QWidget);
    dialog.setContentSize({300, 200});
    dialog.present(std::nullopt);
    const QPoint centre = dialog.geometry().center();
    dialog.setContentSize({401, 251});
    QVERIFY((dialog.geometry().center() - centre).manhattanLength() <= 2);
    dialog.setContentSize({1000000, 1000000});
    QVERIFY(dialog.width() <= room.width() && dialog.height() <= room.height());
  }

  void aPageOfRichTextReadsItsOwnFolderAlone() {
    const TestFolder outer;
    for (const char* style : {"page.css", "page/a.css", "page/img/a.css"})
      outer.write(style, "p{}");
    outer.write("page/b.html", "<p>second</p>");
    const QString page = outer.write("page/a.html", "<p>first</p><script>1</script>");
    QVERIFY(QFile::link(outer.path("page.css"), outer.path("page/link.css")));
    const QByteArray secret = QUrl::fromLocalFile(outer.path("page.css")).toEncoded();
    PageTextView view;
    QSignalSpy links(&view, &PageTextView::linkActivated);
    view.showPage(QUrl::fromLocalFile(page));
    QCOMPARE(view.toPlainText().trimmed(), text("first"));
    const auto resource = [&](const QByteArray& name) {
      return view.loadResource(QTextDocument::StyleSheetResource, QUrl::fromEncoded(name));
    };
    QCOMPARE(resource("a.css"), QVariant(QByteArray("p{}")));
    for (const QByteArray& name : {QByteArray("../page.css"), QByteArray("link.css"), secret, QByteArray("img"),
                                   QByteArray("http://127.0.0.1/a.css"), QByteArray("//127.0.0.1/a.css")})
      QVERIFY2(!resource(name).isValid(), name.constData());
    const auto click = [&](const QByteArray& name) { Q_EMIT view.anchorClicked(QUrl::fromEncoded(name)); };
    click("b.html");
    click(secret);
    QVERIFY(links.isEmpty());
    QCOMPARE(view.toPlainText().trimmed(), text("second"));
    click("https://a.example/");
    QCOMPARE(links.size(), 1);
    view.showPage(std::nullopt);
    QVERIFY(!view.toPlainText().isEmpty());
  }
};

QTEST_MAIN(TestPromoDialogs)
#include "test_promo_dialogs.moc"
