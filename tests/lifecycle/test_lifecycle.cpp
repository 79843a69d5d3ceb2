#include <QtTest>

#include <unistd.h>

#include "branding/branding.h"
#include "core/application_identity.h"
#include "lifecycle/bundle_copy.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/own_bundle.h"
#include "lifecycle/sharing_services.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_running_copies.h"
#include "platform/fake/fake_workspace.h"
#include "preferences/stored_keys.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using Kind = SharingService::Kind;

namespace {

/// Names in a folder, hidden ones too.
QStringList names(const QString& folder) {
  return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

/// A home with a bundle in its downloads: 200 KiB and a link.
struct Machine : TestFolder {
  Machine() {
    write("Downloads/Halvard.AppDir/AppRun", "new");
    write("Downloads/Halvard.AppDir/usr/bin/halvard", QByteArray(200 * 1024, 'x'));
    QFile::link(text("usr/bin/halvard"), bundle + text("/link"));
  }

  /// Where the program stands when the offer is done; nothing when it was not copied.
  std::optional<QString> offer(std::optional<QString> running) {
    MoveToApplications move({store, alerts, copies, folders}, std::move(running), text("Main"));
    std::optional<std::optional<QString>> result;
    move.copyAppToApplications([&](const std::optional<QString>& path) { result = path; });
    if (!QTest::qWaitFor([&] { return result.has_value(); })) return text("(no answer)");
    return *result;
  }

  QString bundle = path("Downloads/Halvard.AppDir");
  QString applications = path("Applications");
  FakeDefaultsStore store;
  FakeAlertPresenter alerts;
  FakeRunningCopies copies;
  FakeStandardFolders folders{QFile::encodeName(path())};
};

Branding makerWithPages() {
  Branding branding;
  branding.productPage = QUrl(text("https://example.com/halvard?from=share&kind=1"));
  branding.storePage = QUrl(text("https://store.example.com/halvard"));
  branding.twitterHashtags = text("#halvard #linux");
  return branding;
}

}  // namespace

class TestLifecycle : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void bundleIsTheAppImageOrTheNearestAppDir() {
    const Machine machine;
    const QString program = machine.bundle + text("/usr/bin/halvard");
    QCOMPARE(ownBundle({program, {}, {}}), machine.bundle);
    QCOMPARE(ownBundle({program, text("/home/u/H.AppImage"), machine.bundle}), text("/home/u/H.AppImage"));
    // Started from another program's AppImage.
    QCOMPARE(ownBundle({program, text("/home/u/Other.AppImage"), text("/tmp/.mount_Other")}), machine.bundle);
    QCOMPARE(ownBundle({machine.path("halvard"), {}, {}}), std::nullopt);
    QCOMPARE(programOfBundle(machine.bundle), machine.bundle + text("/AppRun"));
  }

  void nothingIsOfferedInsideAnyFolderForApplications() {
    Machine machine;
    // The folder of the machine is a link to another disk, say.
    QDir(machine.path()).mkdir(text("disk"));
    QFile::link(machine.path("disk"), machine.path("opt"));
    for (const char* path :
         {"/usr/lib/halvard", "/usr/local/H.AppDir", "/snap/halvard/1", "/app/halvard", "/var/lib/flatpak/app/halvard",
          "HOME/Applications/H.AppDir", "HOME/opt/tools/H.AppDir", "HOME/disk/H.AppDir"})
      QCOMPARE(machine.offer(text(path).replace(text("HOME"), machine.path())), std::nullopt);
    QCOMPARE(machine.offer(std::nullopt), std::nullopt);
    QCOMPARE(machine.alerts.shown.size(), 0U);
  }

  void declinedWithTheBoxTickedIsNeverOfferedAgain() {
    Machine machine;
    QCOMPARE(machine.offer(machine.bundle), std::nullopt);
    machine.alerts.answers = {{1, true}};
    QCOMPARE(machine.offer(machine.bundle), std::nullopt);
    QCOMPARE(machine.offer(machine.bundle), std::nullopt);
    QCOMPARE(machine.alerts.shown.size(), 2U);
    QCOMPARE(machine.alerts.shown[0].message, text("Move Main to Applications folder?"));
    QVERIFY(machine.store.objectForKey(stored_keys::suppressMoveToApplications) == StoredValue{true});
    QVERIFY(!machine.store.hasUnsavedChanges());
    QVERIFY(!QFileInfo::exists(machine.applications));
  }

  void wholeBundleIsCopied() {
    Machine machine;
    machine.alerts.answers = {{0, false}};
    const QString copy = machine.applications + text("/Halvard.AppDir");
    QCOMPARE(machine.offer(machine.bundle), copy);
    QCOMPARE(names(machine.applications), QStringList{text("Halvard.AppDir")});
    QCOMPARE(machine.read("Applications/Halvard.AppDir/usr/bin/halvard"), QByteArray(200 * 1024, 'x'));
    QCOMPARE(QFile(copy + text("/AppRun")).permissions(), QFile(machine.bundle + text("/AppRun")).permissions());
    QCOMPARE(QFileInfo(copy + text("/link")).symLinkTarget(), copy + text("/usr/bin/halvard"));
    QVERIFY(QFileInfo::exists(machine.bundle));
    QCOMPARE(machine.copies.events, QStringList());
  }

  void machineFolderComesFirstAndWhatStandsThereIsReplaced() {
    Machine machine;
    const QString file = machine.write("Downloads/H.AppImage", "new");
    const QString former = machine.write("opt/H.AppImage", "old");
    machine.write("opt/.H.AppImage.new", "left by a copy that was killed");
    machine.alerts.answers = {{0, true}};
    QCOMPARE(machine.offer(file), former);
    QCOMPARE(machine.read("opt/H.AppImage"), QByteArray("new"));
    QCOMPARE(names(machine.path("opt")), QStringList{text("H.AppImage")});
    QCOMPARE(machine.copies.events, QStringList{text("terminate ") + former});
    QVERIFY(machine.store.objectForKey(stored_keys::suppressMoveToApplications) == StoredValue{true});
  }

  void failingCopyIsToldAndLeavesNothing() {
    const QString unreachable = text("/") + QString(300, u'x');
    QVERIFY(!bundle_copy::stage(unreachable, unreachable) && !bundle_copy::putInPlace(unreachable, unreachable));
    for (const auto& [options, reason] :
         {std::pair("size=64k", "No space left on device"), {"ro", "Read-only file system"}}) {
      Machine machine;
      QDir().mkpath(machine.applications);
      const QString mount = text("-t tmpfs -o %1 none %2").arg(text(options), machine.applications);
      if (::geteuid() != 0 || QProcess::execute(text("mount"), mount.split(u' ')) != 0)
        QSKIP("only root may mount a small file system");
      const auto unmount = qScopeGuard([&] { QProcess::execute(text("umount"), {machine.applications}); });
      const char* const former = "Applications/Halvard.AppDir/AppRun";
      if (text(options) != text("ro")) machine.write(former, "old");
      const QStringList before = names(machine.applications);
      machine.alerts.answers = {{0, false}};
      QCOMPARE(machine.offer(machine.bundle), std::nullopt);
      QCOMPARE(machine.alerts.shown.size(), 2U);
      const Alert& told = machine.alerts.shown[1];
      QVERIFY2(told.isCritical && told.informativeText.contains(text(reason)), qPrintable(told.informativeText));
      QCOMPARE(names(machine.applications), before);
      if (!before.isEmpty()) QCOMPARE(machine.read(former), QByteArray("old"));
      QCOMPARE(machine.copies.events, QStringList());
    }
  }

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

QTEST_GUILESS_MAIN(TestLifecycle)
#include "test_lifecycle.moc"
