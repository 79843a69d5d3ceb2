#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include "core/notification_center.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_user_notification_center.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "promo/promo_manager.h"
#include "support/zip_builder.h"

using namespace halvard;

/// The worked example of docs/publishing.md, against Python's web server.
class TestPublishing : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir m_feeds;
  QTemporaryDir m_home;
  QProcess m_server;
  QUrl m_address;

  static int publish(const QStringList& arguments) {
    QProcess program;
    program.setStandardErrorFile(QProcess::nullDevice());
    program.start(QStringLiteral(PUBLISHING "/publish"), arguments);
    return program.waitForFinished() ? program.exitCode() : -1;
  }

  static QByteArray content(const std::optional<QUrl>& url) {
    QFile file(url.value_or(QUrl()).toLocalFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

 private Q_SLOTS:
  void initTestCase() {
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    if (python.isEmpty()) QSKIP("needs python3");
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(python,
                   {QStringLiteral("-u"), QStringLiteral("-m"), QStringLiteral("http.server"), QStringLiteral("--bind"),
                    QStringLiteral("127.0.0.1"), QStringLiteral("--directory"), m_feeds.path(), QStringLiteral("0")});
    QVERIFY(m_server.waitForReadyRead());
    const auto match = QRegularExpression(QStringLiteral("http://127.0.0.1:[0-9]+/"))
                           .match(QString::fromUtf8(m_server.readAllStandardOutput()));
    QVERIFY(match.hasMatch());
    m_address = QUrl(match.captured());
  }

  void cleanupTestCase() {
    m_server.kill();
    m_server.waitForFinished();
  }

  void whatIsPublishedReachesTheUser() {
    const QString example = QStringLiteral(PUBLISHING "/example/");
    QCOMPARE(publish({QStringLiteral("news"), QStringLiteral("1"), example + QStringLiteral("news"), m_feeds.path(),
                      QStringLiteral("420"), QStringLiteral("360")}),
             0);
    QCOMPARE(publish({QStringLiteral("tools"), QStringLiteral("1"), example + QStringLiteral("tools"), m_feeds.path()}),
             0);
    QDir(m_home.path()).mkpath(QStringLiteral("xdg/halvard"));
    QVERIFY(writeFile(m_home.filePath(QStringLiteral("xdg/halvard/branding.ini")),
                      "[Maker]\nFeedFolder=" + m_address.toEncoded() + "\n"));
    const Branding branding = Branding::load({m_home.filePath(QStringLiteral("xdg"))});

    FakeDefaultsStore store;
    FakeClock clock;
    ShowcaseDefaults defaults(store, clock, QStringLiteral("1.0"));
    QtHttpFetcher fetcher("Halvard/1.0");
    MinizipUnpacker unpacker;
    FakeWorkspace workspace;
    FakeUserNotificationCenter userNotifications;
    NotificationCenter notifications;
    PromoManager promo(
        {defaults, fetcher, unpacker, workspace, userNotifications, notifications, branding, m_home.path()},
        PromoSettings::LoadHalvardData(branding, store),
        {.name = QStringLiteral("Halvard"),
         .displayName = {},
         .version = QStringLiteral("1.0"),
         .buildVersion = {},
         .systemVersion = {}});
    QTRY_COMPARE(promo.getNewsDowloader().getVersion(), 1);
    QTRY_COMPARE(promo.getShowcaseDownloader().getVersion(), 1);
    QCOMPARE(promo.getNewsDowloader().getWindowSize(), QSizeF(420, 360));
    QCOMPARE(promo.getShowcaseDownloader().getWindowSize(), QSizeF(713, 356));
    QVERIFY(content(promo.getNewsDowloader().getHtmlURL()).contains("An example of news"));
    QVERIFY(content(promo.getShowcaseDownloader().getHtmlURL()).contains("An example of a showcase"));
    QVERIFY(QFile::exists(m_home.filePath(QStringLiteral("Halvard/News2_v1/page.css"))));
  }

  void theToolRefusesWhatUsersWouldRefuse() {
    const QString news = QStringLiteral(PUBLISHING "/example/news");
    QCOMPARE(publish({QStringLiteral("tools"), QStringLiteral("2"), news, m_feeds.path()}), 2);
    QCOMPARE(publish({QStringLiteral("news"), QStringLiteral("0"), news, m_feeds.path()}), 2);
    QCOMPARE(publish({QStringLiteral("other"), QStringLiteral("2"), news, m_feeds.path()}), 2);
  }
};

QTEST_GUILESS_MAIN(TestPublishing)
#include "test_publishing.moc"
