#include <QtTest>

#include "branding/branding.h"
#include "lifecycle/sharing_services.h"
#include "platform/fake/fake_workspace.h"
#include "support/texts.h"

using namespace halvard;

namespace {

using Kind = SharingService::Kind;

Branding makerWithPages() {
  Branding branding;
  branding.productPage = QUrl(text("https://example.com/halvard?from=share&kind=1"));
  branding.storePage = QUrl(text("https://store.example.com/halvard"));
  branding.twitterHashtags = text("#halvard #linux");
  return branding;
}

}  // namespace

class TestSharingServices : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void textsAndAddressesGoOutEscaped() {
    FakeWorkspace workspace;
    SharingServices sharing(workspace, makerWithPages(), text("A&B"));
    for (const Kind kind : {Kind::Twitter, Kind::Facebook, Kind::Email})
      QVERIFY(sharing.share(kind));
    QCOMPARE(workspace.opened[0].toEncoded(),
             QByteArray(
                 "https://twitter.com/intent/tweet?text=Improve%20Mac%20performance%20with%20A%26B%3A%20https%3A%2F%2F"
                 "example.com%2Fhalvard%3Ffrom%3Dshare%26kind%3D1%20%23halvard%20%23linux"));
    QCOMPARE(
        workspace.opened[1].toEncoded(),
        QByteArray("https://www.facebook.com/sharer/sharer.php?u=https%3A%2F%2Fstore.example.com%2Fhalvard&quote="
                   "Improve%20Mac%20performance%20by%20releasing%20inactive%20RAM%20with%20A%26B%3A%20https%3A%2F%2F"
                   "store.example.com%2Fhalvard"));
    QCOMPARE(workspace.opened[2].toEncoded(),
             QByteArray(
                 "mailto:?SUBJECT=Optimise%20RAM%20Usage%20on%20Mac&BODY=Hello%21%0D%0A%0D%0AIf%20you%20also%20have%20"
                 "RAM%20issues%20on%20your%20Mac%2C%20try%20to%20improve%20its%20performance%20with%20A%26B%3A%20"
                 "https%3A%2F%2Fstore.example.com%2Fhalvard%0D%0A%0D%0ARegards"));
  }

  void serviceThatDoesNotWorkHereIsNotOffered() {
    FakeWorkspace workspace;
    QVERIFY(SharingServices(workspace, Branding(), text("Main")).available().empty());
    SharingServices sharing(workspace, makerWithPages(), text("Main"));
    workspace.missingSchemes = {text("mailto")};
    QCOMPARE(sharing.available().size(), 2U);
    QVERIFY(!sharing.share(Kind::Email) && workspace.opened.isEmpty());
    workspace.missingSchemes = {text("https")};
    QCOMPARE(sharing.available().size(), 1U);
    QCOMPARE(sharing.available().front().title, text("Email"));
  }
};

QTEST_GUILESS_MAIN(TestSharingServices)
#include "test_sharing_services.moc"
