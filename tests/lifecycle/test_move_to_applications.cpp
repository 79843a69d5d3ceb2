#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <optional>

#include <unistd.h>

#include "core/application_identity.h"
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

/// A file system mounted on a folder for the life of this object.
class Mount {
 public:
  Mount(const QString& folder, const QString& options) : m_folder(folder) {
    QDir().mkpath(folder);
    m_mounted = run({latin("mount"), latin("-t"), latin("tmpfs"), latin("-o"), options, latin("none"), folder});
  }
  ~Mount() {
    if (m_mounted) run({latin("umount"), m_folder});
  }
  explicit operator bool() const { return m_mounted; }

 private:
  static bool run(QStringList command) {
    const QString program = command.takeFirst();
    return ::geteuid() == 0 && QProcess::execute(program, command) == 0;
  }
  const QString m_folder;
  bool m_mounted = false;
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

  void nothingIsOfferedInsideAnyFolderForApplications_data() {
    QTest::addColumn<QString>("bundle");
    for (const char* path :
         {"/usr/lib/halvard", "/usr/local/H.AppDir", "/snap/halvard/1", "/app/halvard", "/var/lib/flatpak/app/halvard",
          "HOME/Applications/H.AppDir", "HOME/opt/tools/H.AppDir", "HOME/disk/H.AppDir"})
      QTest::newRow(path) << latin(path);
  }
  void nothingIsOfferedInsideAnyFolderForApplications() {
    QFETCH(QString, bundle);
    Machine machine;
    // The folder of the machine is a link to another disk, say.
    QDir(machine.home.path()).mkdir(latin("disk"));
    QFile::link(machine.home.filePath(latin("disk")), machine.home.filePath(latin("opt")));
    QCOMPARE(machine.offer(bundle.replace(latin("HOME"), machine.home.path())), std::nullopt);
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

  void failingCopyIsToldAndLeavesNothing_data() {
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("reason");
    QTest::newRow("disk full") << latin("size=64k") << latin("No space left on device");
    QTest::newRow("no permission") << latin("ro") << latin("Read-only file system");
  }
  void failingCopyIsToldAndLeavesNothing() {
    QFETCH(QString, options);
    QFETCH(QString, reason);
    Machine machine;
    const Mount mount(machine.applications, options);
    if (!mount) QSKIP("only root may mount a small file system");
    if (options != latin("ro")) write(machine.applications + latin("/Halvard.AppDir/AppRun"), "old");
    const QStringList before = names(machine.applications);
    machine.alerts.answers = {{0, false}};
    QCOMPARE(machine.offer(machine.bundle), std::nullopt);
    QCOMPARE(machine.alerts.shown.size(), 2U);
    QVERIFY(machine.alerts.shown[1].isCritical);
    QVERIFY2(machine.alerts.shown[1].informativeText.contains(reason),
             qPrintable(machine.alerts.shown[1].informativeText));
    QCOMPARE(names(machine.applications), before);
    if (!before.isEmpty()) QCOMPARE(read(machine.applications + latin("/Halvard.AppDir/AppRun")), QByteArray("old"));
    QCOMPARE(machine.copies.events, QStringList());
  }
};

QTEST_GUILESS_MAIN(TestMoveToApplications)
#include "test_move_to_applications.moc"
