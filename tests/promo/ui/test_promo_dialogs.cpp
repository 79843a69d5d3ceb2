#include <QtTest>

#include "platform/fake/fake_clock.h"
#include "promo/application_facts.h"
#include "promo/ui/page_frame.h"
#include "promo/ui/page_text_view.h"
#include "promo/ui/rate_dialog_view.h"
#include "promo/ui/rate_star_button.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

class TestPromoDialogs : public QObject {
  Q_OBJECT

 private Q_SLOTS:
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
