#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

#include "platform/linux/xdg/halvard_login_jobs.h"
#include "platform/linux/xdg/running_programs.h"
#include "platform/linux/xdg/xdg_login_item_service.h"

using namespace halvard;

namespace {

const QString identifier = QStringLiteral("com.example.Main.launcher");
const QString entryName = identifier + QStringLiteral(".desktop");

// A session of its own: folders, one installed program and a service that may start it at login.
struct Session {
  QTemporaryDir root;
  AutostartDirectories directories{path("user/autostart"), {path("first"), path("second")}};
  QString program = install("bin/helper");
  XdgLoginItemService service{directories,
                              {QStringLiteral("XFCE")},
                              {{identifier, QStringLiteral("Main"), {program, QStringLiteral("a b")}}},
                              path("proc")};

  QString path(const char* name) const { return root.filePath(QString::fromLatin1(name)); }

  QString install(const char* name, const QByteArray& content = "#!/bin/sh\n") {
    put(name, content);
    QFile::setPermissions(path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return QFileInfo(path(name)).canonicalFilePath();
  }

  void put(const char* name, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) file.write(content);
  }

  /// Has a process of that pid run a program.
  void run(int pid, const QString& file) const {
    const QString folder = path("proc/") + QString::number(pid);
    QDir().mkpath(folder);
    QFile::remove(folder + QStringLiteral("/exe"));
    QFile::link(file, folder + QStringLiteral("/exe"));
  }

  QByteArray entry(const QString& run) const {
    return "[Desktop Entry]\nType=Application\nName=A\nExec=" + run.toUtf8();
  }

  QStringList labels() const {
    QStringList result;
    for (const JobDescription& job : service.copyAllJobDictionaries())
      result << *job.at(QStringLiteral("Label")).as<QString>();
    return result;
  }
};

}  // namespace

class TestXdgLoginItemService : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void enabledJobIsAnEntryThatTheListShows() {
    Session session;
    QVERIFY(session.labels().isEmpty());
    QVERIFY(session.service.setEnabled(identifier, true));
    QVERIFY(session.service.setEnabled(identifier, true));
    const std::vector<JobDescription> jobs = session.service.copyAllJobDictionaries();
    QCOMPARE(jobs.size(), 1u);
    const JobDescription expected{
        {QStringLiteral("Label"), {identifier}},
        {QStringLiteral("Program"), {session.program}},
        {QStringLiteral("ProgramArguments"), {StoredValue::Array{{session.program}, {QStringLiteral("a b")}}}},
        {QStringLiteral("OnDemand"), {std::int64_t{0}}}};
    QCOMPARE(jobs.front(), expected);
    QCOMPARE(QDir(session.directories.user).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{entryName});
    QVERIFY(session.service.setEnabled(identifier, false));
    QVERIFY(session.service.setEnabled(identifier, false));
    QVERIFY(session.labels().isEmpty());
    QVERIFY(!QFile::exists(session.directories.user + QLatin1Char('/') + entryName));
  }

  void unknownJobAndMissingProgramAreRefused() {
    Session session;
    QVERIFY(!session.service.setEnabled(QStringLiteral("other"), true));
    QVERIFY(!session.service.setEnabled(QStringLiteral("other"), false));
    QFile::remove(session.program);
    QVERIFY(!session.service.setEnabled(identifier, true));
    QVERIFY(!QFile::exists(session.directories.user));
    XdgLoginItemService odd(session.directories, {},
                            {{QStringLiteral("../odd"), QString(), {QStringLiteral("/bin/sh")}}});
    QVERIFY(!odd.setEnabled(QStringLiteral("../odd"), true));
  }

  void folderThatCannotBeWrittenIsAFailure() {
    Session session;
    session.put("user", "a file where the folder should be");
    QVERIFY(!session.service.setEnabled(identifier, true));
    QVERIFY(session.service.setEnabled(identifier, false));
    session.put("second/com.example.Main.launcher.desktop", session.entry(session.program));
    QVERIFY(!session.service.setEnabled(identifier, false));
    QCOMPARE(session.labels(), QStringList{identifier});
  }

  void systemEntryIsMaskedAndUnmasked() {
    Session session;
    session.put("second/com.example.Main.launcher.desktop", session.entry(session.program));
    QCOMPARE(session.labels(), QStringList{identifier});
    QVERIFY(session.service.setEnabled(identifier, false));
    QVERIFY(session.labels().isEmpty());
    QVERIFY(QFile::exists(session.directories.user + QLatin1Char('/') + entryName));
    QVERIFY(session.service.setEnabled(identifier, true));
    QCOMPARE(session.labels(), QStringList{identifier});
  }

  void changesMadeOutsideAreSeenAtOnce() {
    Session session;
    QVERIFY(session.service.setEnabled(identifier, true));
    const QString path = session.directories.user + QLatin1Char('/') + entryName;
    QFile file(path);
    QVERIFY(file.open(QIODevice::Append));
    file.write("X-GNOME-Autostart-enabled=false\n");
    file.close();
    QVERIFY(session.labels().isEmpty());
    QVERIFY(session.service.setEnabled(identifier, true));
    QCOMPARE(session.labels(), QStringList{identifier});
    QVERIFY(QFile::remove(path));
    QVERIFY(session.labels().isEmpty());
  }

  void listTakesTheFirstEntryOfANameAndOnlyWhatStarts() {
    Session session;
    const QByteArray good = session.entry(session.program);
    session.put("user/autostart/masked.desktop", "[Desktop Entry]\nHidden=true\n");
    session.put("first/masked.desktop", good);
    session.put("first/b.desktop", good);
    session.put("second/b.desktop", session.entry(QStringLiteral("/nowhere/at/all")));
    session.put("second/a.desktop", good);
    session.put("second/gone.desktop", session.entry(QStringLiteral("/nowhere/at/all")));
    session.put("second/not-installed.desktop", good + "\nTryExec=/nowhere/at/all\n");
    session.put("second/other-desktop.desktop", good + "\nOnlyShowIn=KDE;\n");
    session.put("second/broken.desktop", "no entry");
    session.put("second/no-entry.txt", good);
    QCOMPARE(::mkfifo(QFile::encodeName(session.path("second/pipe.desktop")).constData(), 0600), 0);  // nobody writes
    session.put("second/by-name.desktop", session.entry(QStringLiteral("sh -c x")));
    QVERIFY(QFile::link(QStringLiteral("/dev/null"), session.path("user/autostart/null.desktop")));
    session.put("first/null.desktop", good);
    QCOMPARE(session.labels(), (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("by-name")}));
  }

  void aMountedProgramStartsThroughItsAppImage() {
    Session session;
    const QString image = session.install("H.AppImage");
    const QString folder = QFileInfo(session.install("mounted/usr/bin/halvard-launcher")).path();
    const auto restore = qScopeGuard([] { qunsetenv("APPIMAGE"), qunsetenv("APPDIR"); });
    qputenv("APPIMAGE", QFile::encodeName(image));
    qputenv("APPDIR", QFile::encodeName(session.path("mounted")));
    QCOMPARE(mountedAppImage(folder), image);
    QCOMPARE(mountedAppImage(QStringLiteral("/usr/bin")), QString());
    const std::vector<LoginJob> jobs = loginJobs(folder, image);
    XdgLoginItemService service(session.directories, {}, jobs, session.path("proc"));
    QVERIFY(service.setEnabled(jobs.front().identifier, true));
    const JobDescription job = service.copyAllJobDictionaries().front();
    QCOMPARE(job.at(QStringLiteral("Program")), StoredValue{image});
    QCOMPARE(job.at(QStringLiteral("ProgramArguments")), (StoredValue{StoredValue::Array{{image}, {kBeLauncher}}}));
    // The image's own process is another one; what counts is the launcher inside.
    session.run(42, image);
    QVERIFY(!service.isJobRunning(jobs.front().identifier));
    session.run(42, folder + QStringLiteral("/halvard-launcher"));
    QVERIFY(service.isJobRunning(jobs.front().identifier));
  }

  void runningProgramsAreFoundByTheirFile() {
    Session session;
    QVERIFY(session.service.setEnabled(identifier, true));
    session.run(43, session.path("bin/other"));
    QVERIFY(!session.service.isJobRunning(identifier));
    session.run(42, session.program + QStringLiteral(" (deleted)"));  // replaced by an update while it runs
    QVERIFY(session.service.isJobRunning(identifier));
    QVERIFY(!session.service.isJobRunning(QStringLiteral("other")));
    QCOMPARE(session.service.copyAllJobDictionaries().front().at(QStringLiteral("PID")), StoredValue{std::int64_t{42}});
    QVERIFY(session.service.setEnabled(identifier, false));
    QVERIFY(session.service.isJobRunning(identifier));
    QVERIFY(runningPrograms(session.path("nowhere")).isEmpty());
    QVERIFY(runningPrograms(QStringLiteral("/proc")).contains(QCoreApplication::applicationFilePath()));
  }

  void appDirIsTheBundleOfItsMainProgramOnly() {
    Session session;
    const QString folder = session.path("Main.AppDir");
    const auto bundle = [&](const char* program) {
      return session.service.bundleAt(folder, QString::fromLatin1(program));
    };
    session.put("Main.AppDir/com.example.Main.desktop", session.entry(QStringLiteral("main %U")));
    QVERIFY(!bundle("/x/usr/bin/main"));
    session.install("Main.AppDir/AppRun");
    QCOMPARE(bundle("/x/usr/bin/main")->identifier, QStringLiteral("com.example.Main"));
    QCOMPARE(bundle("/x/usr/bin/main")->name, QStringLiteral("A"));
    QVERIFY(!bundle("/x/usr/bin/helper"));
    session.put("Main.AppDir/other.desktop", session.entry(QStringLiteral("main")));
    QVERIFY(!bundle("/x/usr/bin/main"));
  }

  void plainEntriesAreListedAddedAndRemoved() {
    Session session;
    const QString main = session.install("bin/main program");
    session.put("second/other.desktop", session.entry(session.program));
    QVERIFY(session.service.appendSessionLoginItem(main, false));
    std::vector<SessionLoginItem> items = session.service.sessionLoginItems();
    QCOMPARE(items.size(), 2u);
    QCOMPARE(items[0].location, main);
    QCOMPARE(items[1].reference, QStringLiteral("other"));
    QVERIFY(session.service.removeSessionLoginItem(items[0].reference));
    QVERIFY(session.service.removeSessionLoginItem(items[1].reference));
    QVERIFY(!session.service.removeSessionLoginItem(QStringLiteral("../x")));
    QVERIFY(session.service.sessionLoginItems().empty());
    QVERIFY(!session.service.appendSessionLoginItem(session.path("nothing"), false));
    QVERIFY(session.service.appendSessionLoginItem(session.program, false));
    QCOMPARE(session.service.sessionLoginItems().front().reference, identifier);
  }
};

QTEST_GUILESS_MAIN(TestXdgLoginItemService)
#include "test_xdg_login_item_service.moc"
