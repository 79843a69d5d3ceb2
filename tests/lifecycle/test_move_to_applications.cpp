#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <optional>

#include <unistd.h>

#include "core/application_identity.h"
#include "lifecycle/bundle_copy.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/own_bundle.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_running_copies.h"
#include "preferences/stored_keys.h"

using namespace halvard;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

void write(const QString& path, const QByteArray& content) {
  QDir().mkpath(QFileInfo(path).path());
  QFile file(path);
  QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
  file.close();
  QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup));
}

QByteArray read(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

/// Names in a folder, hidden ones too.
QStringList names(const QString& folder) {
  return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

/// A home with a bundle in its downloads: 200 KiB and a link.
struct Machine {
  Machine() {
    write(bundle + latin("/AppRun"), "new");
    write(bundle + latin("/usr/bin/halvard"), QByteArray(200 * 1024, 'x'));
    QFile::link(latin("usr/bin/halvard"), bundle + latin("/link"));
  }

  /// Where the program stands when the offer is done; nothing when it was not copied.
  std::optional<QString> offer(std::optional<QString> running) {
    MoveToApplications move({store, alerts, copies, folders}, std::move(running), latin("Main"));
    std::optional<std::optional<QString>> result;
    move.copyAppToApplications([&](const std::optional<QString>& path) { result = path; });
    if (!QTest::qWaitFor([&] { return result.has_value(); })) return latin("(no answer)");
    return *result;
  }

  QTemporaryDir home;
  QString bundle = home.filePath(latin("Downloads/Halvard.AppDir"));
  QString applications = home.filePath(latin("Applications"));
  FakeDefaultsStore store;
  FakeAlertPresenter alerts;
  FakeRunningCopies copies;
  FakeStandardFolders folders{QFile::encodeName(home.path())};
};

}  // namespace

class TestMoveToApplications : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void bundleIsTheAppImageOrTheNearestAppDir() {
    const Machine machine;
    const QString program = machine.bundle + latin("/usr/bin/halvard");
    QCOMPARE(ownBundle({program, {}, {}}), machine.bundle);
    QCOMPARE(ownBundle({program, latin("/home/u/H.AppImage"), machine.bundle}), latin("/home/u/H.AppImage"));
    // Started from another program's AppImage.
    QCOMPARE(ownBundle({program, latin("/home/u/Other.AppImage"), latin("/tmp/.mount_Other")}), machine.bundle);
    QCOMPARE(ownBundle({machine.home.filePath(latin("halvard")), {}, {}}), std::nullopt);
    QCOMPARE(programOfBundle(machine.bundle), machine.bundle + latin("/AppRun"));
  }

  void nothingIsOfferedInsideAnyFolderForApplications() {
    Machine machine;
    // The folder of the machine is a link to another disk, say.
    QDir(machine.home.path()).mkdir(latin("disk"));
    QFile::link(machine.home.filePath(latin("disk")), machine.home.filePath(latin("opt")));
    for (const char* path :
         {"/usr/lib/halvard", "/usr/local/H.AppDir", "/snap/halvard/1", "/app/halvard", "/var/lib/flatpak/app/halvard",
          "HOME/Applications/H.AppDir", "HOME/opt/tools/H.AppDir", "HOME/disk/H.AppDir"})
      QCOMPARE(machine.offer(latin(path).replace(latin("HOME"), machine.home.path())), std::nullopt);
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
    QCOMPARE(machine.alerts.shown[0].message, latin("Move Main to Applications folder?"));
    QVERIFY(machine.store.objectForKey(stored_keys::suppressMoveToApplications) == StoredValue{true});
    QVERIFY(!machine.store.hasUnsavedChanges());
    QVERIFY(!QFileInfo::exists(machine.applications));
  }

  void wholeBundleIsCopied() {
    Machine machine;
    machine.alerts.answers = {{0, false}};
    const QString copy = machine.applications + latin("/Halvard.AppDir");
    QCOMPARE(machine.offer(machine.bundle), copy);
    QCOMPARE(names(machine.applications), QStringList{latin("Halvard.AppDir")});
    QCOMPARE(read(copy + latin("/usr/bin/halvard")), QByteArray(200 * 1024, 'x'));
    QCOMPARE(QFile(copy + latin("/AppRun")).permissions(), QFile(machine.bundle + latin("/AppRun")).permissions());
    QCOMPARE(QFileInfo(copy + latin("/link")).symLinkTarget(), copy + latin("/usr/bin/halvard"));
    QVERIFY(QFileInfo::exists(machine.bundle));
    QCOMPARE(machine.copies.events, QStringList());
  }

  void machineFolderComesFirstAndWhatStandsThereIsReplaced() {
    Machine machine;
    const QString file = machine.home.filePath(latin("Downloads/H.AppImage"));
    const QString former = machine.home.filePath(latin("opt/H.AppImage"));
    write(file, "new");
    write(former, "old");
    write(machine.home.filePath(latin("opt/.H.AppImage.new")), "left by a copy that was killed");
    machine.alerts.answers = {{0, true}};
    QCOMPARE(machine.offer(file), former);
    QCOMPARE(read(former), QByteArray("new"));
    QCOMPARE(names(machine.home.filePath(latin("opt"))), QStringList{latin("H.AppImage")});
    QCOMPARE(machine.copies.events, QStringList{latin("terminate ") + former});
    QVERIFY(machine.store.objectForKey(stored_keys::suppressMoveToApplications) == StoredValue{true});
  }

  void failingCopyIsToldAndLeavesNothing() {
    const QString unreachable = latin("/") + QString(300, u'x');
    QVERIFY(!bundle_copy::stage(unreachable, unreachable) && !bundle_copy::putInPlace(unreachable, unreachable));
    for (const auto& [options, reason] :
         {std::pair("size=64k", "No space left on device"), {"ro", "Read-only file system"}}) {
      Machine machine;
      QDir().mkpath(machine.applications);
      const QStringList mount{latin("-t"),    latin("tmpfs"), latin("-o"),
                              latin(options), latin("none"),  machine.applications};
      if (::geteuid() != 0 || QProcess::execute(latin("mount"), mount) != 0)
        QSKIP("only root may mount a small file system");
      const auto unmount = qScopeGuard([&] { QProcess::execute(latin("umount"), {machine.applications}); });
      const QString former = machine.applications + latin("/Halvard.AppDir/AppRun");
      if (latin(options) != latin("ro")) write(former, "old");
      const QStringList before = names(machine.applications);
      machine.alerts.answers = {{0, false}};
      QCOMPARE(machine.offer(machine.bundle), std::nullopt);
      QCOMPARE(machine.alerts.shown.size(), 2U);
      const Alert& told = machine.alerts.shown[1];
      QVERIFY2(told.isCritical && told.informativeText.contains(latin(reason)), qPrintable(told.informativeText));
      QCOMPARE(names(machine.applications), before);
      if (!before.isEmpty()) QCOMPARE(read(former), QByteArray("old"));
      QCOMPARE(machine.copies.events, QStringList());
    }
  }
};

QTEST_GUILESS_MAIN(TestMoveToApplications)
#include "test_move_to_applications.moc"
