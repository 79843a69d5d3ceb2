#include <QtTest>

#include <sys/stat.h>

#include "platform/linux/xdg/desktop_entry.h"
#include "platform/linux/xdg/halvard_login_jobs.h"
#include "platform/linux/xdg/running_programs.h"
#include "platform/linux/xdg/xdg_login_item_service.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;

namespace {

const QString identifier = text("com.example.Main.launcher");
constexpr const char* userEntry = "user/autostart/com.example.Main.launcher.desktop";
constexpr const char* systemEntry = "second/com.example.Main.launcher.desktop";

/// A session of its own: folders, one installed program and a service that may start it at login.
struct Session : TestFolder {
  AutostartDirectories directories{path("user/autostart"), {path("first"), path("second")}};
  QString program = write("bin/helper", "#!/bin/sh\n");
  XdgLoginItemService service{
      directories, texts({"XFCE"}), {{identifier, text("Main"), {program, text("a b")}}}, path("proc")};

  /// Has a process of that pid run a program.
  void run(int pid, const QString& file) const {
    const QString link = path(QStringLiteral("proc/%1/exe").arg(pid));
    QDir().mkpath(QFileInfo(link).path());
    QFile::remove(link);
    QFile::link(file, link);
  }

  static QByteArray entry(const QString& run) {
    return "[Desktop Entry]\nType=Application\nName=A\nExec=" + run.toUtf8();
  }

  QStringList labels() const {
    QStringList result;
    for (const JobDescription& job : service.copyAllJobDictionaries())
      result << *job.at(text("Label")).as<QString>();
    return result;
  }
};

}  // namespace

class TestXdg : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void commandSurvivesQuotingInAnEntry() {
    const std::pair<QStringList, const char*> rows[] = {
        {texts({"/usr/bin/halvard-launcher"}), "/usr/bin/halvard-launcher"},
        {texts({"/opt/My Programs/a", "--x=1"}), "\"/opt/My Programs/a\" --x=1"},
        {texts({"/a", ""}), "/a \"\""},
        {texts({"/a\"b`c$d\\e"}), "\"/a\\\"b\\`c\\$d\\\\e\""},
        {texts({"/a'b", "~", "#", "a|b;c&d", "(x)", "*?<>"}), "\"/a'b\" \"~\" \"#\" \"a|b;c&d\" \"(x)\" \"*?<>\""},
        {texts({"/a", "50%", "%f", "100% sure"}), "/a 50%% %%f \"100%% sure\""},
        {texts({"/ü/\u0421"}), "/ü/\u0421"},
    };
    for (const auto& [arguments, exec] : rows) {
      QCOMPARE(execValue(arguments), text(exec));
      QCOMPARE(execArguments(text(exec)), arguments);
      const auto entry = parseDesktopEntry(autostartEntry(text("Name"), arguments));
      QVERIFY(entry && entry->startsIn({}));
      QCOMPARE(entry->arguments, arguments);
      QCOMPARE(entry->tryExec, arguments.first());
      QCOMPARE(entry->name, text("Name"));
    }
  }

  void entryPassesTheValidator() {
    const TestFolder folder;
    const QStringList arguments = texts({"/opt/My $Programs/ha\\lvard", "100%", "a\"b"});
    const QString entry = folder.write("a.desktop", autostartEntry(text("Halvard"), arguments));
    const int status = QProcess::execute(text("desktop-file-validate"), {entry});
    if (status == -2) QSKIP("desktop-file-validate is not installed");
    QCOMPARE(status, 0);
  }

  void entryStartsWhereItIsMeantTo() {
    QStringList inXfce, anywhere;
    for (const char* lines : {"", "Hidden=true", "X-GNOME-Autostart-enabled=false", "OnlyShowIn=KDE;XFCE;",
                              "OnlyShowIn=KDE", "NotShowIn=XFCE;", "NotShowIn=KDE;", "Exec=\"open"}) {
      const auto entry = parseDesktopEntry(QByteArray("[Desktop Entry]\nType=Application\nName=A\nExec=a\n") + lines);
      QVERIFY2(entry, lines);
      if (entry->startsIn(texts({"ubuntu", "XFCE"}))) inXfce << text(lines);
      if (entry->startsIn({})) anywhere << text(lines);
    }
    QCOMPARE(inXfce, texts({"", "OnlyShowIn=KDE;XFCE;", "NotShowIn=KDE;"}));
    QCOMPARE(anywhere, texts({"", "NotShowIn=XFCE;", "NotShowIn=KDE;"}));
  }

  void whatIsNoApplicationEntryIsNothing() {
    for (const char* content : {"", "text", "[Other]\nType=Application\n", "[Desktop Entry]\nType=Link\nExec=a\n",
                                "[Desktop Entry]\nExec=a\n", "[Desktop Entry\n", "\1\2"})
      QVERIFY2(!parseDesktopEntry(content), content);
    QVERIFY(!parseDesktopEntry("[Desktop Entry]\nType=Application\n")->startsIn({}));
  }

  void maskKeepsTheRestOfTheEntry() {
    const QByteArray entry = "# note\n[Desktop Entry]\nType=Application\nName=A\nName[de]=B\nExec=a\n\n[X]\nb=c\n";
    const QByteArray masked = maskedEntry(entry);
    QVERIFY(parseDesktopEntry(masked)->hidden);
    for (const char* part : {"# note", "Name[de]=B", "[X]\nb=c"})
      QVERIFY2(masked.contains(part), masked);
    QVERIFY(parseDesktopEntry(maskedEntry("text"))->hidden);
  }

  void enabledJobIsAnEntryThatTheListShows() {
    Session session;
    QVERIFY(session.labels().isEmpty());
    for (int time = 0; time < 2; ++time)
      QVERIFY(session.service.setEnabled(identifier, true));
    const JobDescription expected{{text("Label"), {identifier}},
                                  {text("Program"), {session.program}},
                                  {text("ProgramArguments"), {StoredValue::Array{{session.program}, {text("a b")}}}},
                                  {text("OnDemand"), {std::int64_t{0}}}};
    QCOMPARE(session.service.copyAllJobDictionaries(), std::vector{expected});
    QCOMPARE(QDir(session.directories.user).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             texts({"com.example.Main.launcher.desktop"}));
    for (int time = 0; time < 2; ++time)
      QVERIFY(session.service.setEnabled(identifier, false));
    QVERIFY(session.labels().isEmpty() && !QFile::exists(session.path(userEntry)));
  }

  void whatCannotBeDoneIsAFailure() {
    Session session;
    for (const bool enabled : {true, false})
      QVERIFY(!session.service.setEnabled(text("other"), enabled));
    XdgLoginItemService odd(session.directories, {}, {{text("../odd"), QString(), texts({"/bin/sh"})}});
    QVERIFY(!odd.setEnabled(text("../odd"), true) && !QFile::exists(session.directories.user));
    session.write("user", "a file where the folder should be");
    QVERIFY(!session.service.setEnabled(identifier, true) && session.service.setEnabled(identifier, false));
    session.write(systemEntry, session.entry(session.program));
    QVERIFY(!session.service.setEnabled(identifier, false));
    QCOMPARE(session.labels(), QStringList{identifier});
    QFile::remove(session.path("user"));
    QFile::remove(session.program);
    QVERIFY(!session.service.setEnabled(identifier, true) && !QFile::exists(session.directories.user));
  }

  void systemEntryIsMaskedAndChangesMadeOutsideAreSeenAtOnce() {
    Session session;
    session.write(systemEntry, session.entry(session.program));
    QCOMPARE(session.labels(), QStringList{identifier});
    QVERIFY(session.service.setEnabled(identifier, false) && session.labels().isEmpty());
    QVERIFY(QFile::exists(session.path(userEntry)) && session.service.setEnabled(identifier, true));
    QCOMPARE(session.labels(), QStringList{identifier});
    session.write(userEntry, session.read(userEntry) + "X-GNOME-Autostart-enabled=false\n");
    QVERIFY(session.labels().isEmpty() && session.service.setEnabled(identifier, true));
    QCOMPARE(session.labels(), QStringList{identifier});
    QFile::remove(session.path(systemEntry));
    QFile::remove(session.path(userEntry));
    QVERIFY(session.labels().isEmpty());
  }

  void listTakesTheFirstEntryOfANameAndOnlyWhatStarts() {
    Session session;
    const QByteArray good = session.entry(session.program);
    const QByteArray gone = session.entry(text("/nowhere/at/all"));
    for (const char* name :
         {"first/masked.desktop", "first/b.desktop", "second/a.desktop", "second/no-entry.txt", "first/null.desktop"})
      session.write(name, good);
    session.write("user/autostart/masked.desktop", "[Desktop Entry]\nHidden=true\n");
    session.write("second/b.desktop", gone);
    session.write("second/gone.desktop", gone);
    session.write("second/not-installed.desktop", good + "\nTryExec=/nowhere/at/all\n");
    session.write("second/other-desktop.desktop", good + "\nOnlyShowIn=KDE;\n");
    session.write("second/broken.desktop", "no entry");
    session.write("second/by-name.desktop", session.entry(text("sh -c x")));
    QVERIFY(QFile::link(text("/dev/null"), session.path("user/autostart/null.desktop")));
    QCOMPARE(::mkfifo(session.path("second/pipe.desktop").toUtf8().constData(), 0600), 0);  // nobody writes
    QCOMPARE(session.labels(), texts({"a", "b", "by-name"}));
  }

  void aMountedProgramStartsThroughItsAppImage() {
    Session session;
    const QString image = session.write("H.AppImage", {});
    const QString launcher = session.write("mounted/usr/bin/halvard-launcher", {});
    const QString folder = session.path("mounted/usr/bin");
    const auto restore = qScopeGuard([] { qunsetenv("APPIMAGE"), qunsetenv("APPDIR"); });
    qputenv("APPIMAGE", image.toUtf8());
    qputenv("APPDIR", session.path("mounted").toUtf8());
    QCOMPARE(mountedAppImage(folder), image);
    QCOMPARE(mountedAppImage(text("/usr/bin")), QString());
    const std::vector<LoginJob> jobs = loginJobs(folder, image);
    XdgLoginItemService service(session.directories, {}, jobs, session.path("proc"));
    QVERIFY(service.setEnabled(jobs.front().identifier, true));
    QCOMPARE(service.copyAllJobDictionaries().front().at(text("ProgramArguments")),
             (StoredValue{StoredValue::Array{{image}, {kBeLauncher}}}));
    // The image's own process is another one; what counts is the launcher inside.
    session.run(42, image);
    QVERIFY(!service.isJobRunning(jobs.front().identifier));
    session.run(42, launcher);
    QVERIFY(service.isJobRunning(jobs.front().identifier));
  }

  void entryFollowsTheProgramThatWasMoved() {
    Session session;
    const QString image = session.write("Old.AppImage", {});
    const QString later = session.write("New.AppImage", {});
    const auto serviceOf = [&](const QStringList& command) {
      return XdgLoginItemService(session.directories, {}, {{identifier, text("Main"), command}}, session.path("proc"));
    };
    const auto adopted = [&](const QStringList& command, const QString& movedFrom = {}) {
      serviceOf(command).adoptEntries(movedFrom);
      const auto entry = parseDesktopEntry(session.read(userEntry));
      return entry && entry->arguments == command && entry->tryExec == command.first();
    };
    const QStringList fromImage{image, kBeLauncher}, fromLater{later, kBeLauncher}, installed{session.program};
    QVERIFY(!adopted(fromImage) && !QFile::exists(session.path(userEntry)));
    QVERIFY(serviceOf(fromImage).setEnabled(identifier, true));
    session.write(userEntry, session.read(userEntry) + "X-GNOME-Autostart-enabled=false\n");
    // Another image is run once: what the entry starts is still there.
    QVERIFY(!adopted(fromLater) && !adopted(fromLater, session.program));
    QVERIFY(adopted(fromLater, image));
    QVERIFY(!parseDesktopEntry(session.read(userEntry))->autostartEnabled);
    // An installed program leaves alone what works.
    QVERIFY(!adopted(installed));
    QFile::remove(later);
    QVERIFY(adopted(installed) && !adopted(fromImage));
    QFile::remove(session.program);
    session.write(userEntry, maskedEntry(session.read(userEntry)));
    QVERIFY(!adopted(fromImage));
  }

  void runningProgramsAreFoundByTheirFile() {
    Session session;
    QVERIFY(session.service.setEnabled(identifier, true));
    session.run(43, session.path("bin/other"));
    QVERIFY(!session.service.isJobRunning(identifier));
    session.run(42, session.program + text(" (deleted)"));  // replaced by an update while it runs
    QVERIFY(session.service.isJobRunning(identifier) && !session.service.isJobRunning(text("other")));
    QCOMPARE(session.service.copyAllJobDictionaries().front().at(text("PID")), StoredValue{std::int64_t{42}});
    QVERIFY(session.service.setEnabled(identifier, false) && session.service.isJobRunning(identifier));
    QVERIFY(runningPrograms(session.path("nowhere")).isEmpty());
    QVERIFY(runningPrograms(text("/proc")).contains(QCoreApplication::applicationFilePath()));
  }

  void appDirIsTheBundleOfItsMainProgramOnly() {
    Session session;
    const auto bundle = [&](const char* program) {
      return session.service.bundleAt(session.path("Main.AppDir"), text(program));
    };
    session.write("Main.AppDir/com.example.Main.desktop", session.entry(text("main %U")));
    QVERIFY(!bundle("/x/usr/bin/main"));
    session.write("Main.AppDir/AppRun", {});
    QCOMPARE(bundle("/x/usr/bin/main")->identifier, text("com.example.Main"));
    QCOMPARE(bundle("/x/usr/bin/main")->name, text("A"));
    QVERIFY(!bundle("/x/usr/bin/helper"));
    session.write("Main.AppDir/other.desktop", session.entry(text("main")));
    QVERIFY(!bundle("/x/usr/bin/main"));
  }

  void plainEntriesAreListedAddedAndRemoved() {
    Session session;
    const QString main = session.write("bin/main program", {});
    session.write("second/other.desktop", session.entry(session.program));
    QVERIFY(session.service.appendSessionLoginItem(main, false));
    const std::vector<SessionLoginItem> items = session.service.sessionLoginItems();
    QCOMPARE(items.size(), 2u);
    QCOMPARE(items[0].location, main);
    QCOMPARE(items[1].reference, text("other"));
    for (const SessionLoginItem& item : items)
      QVERIFY(session.service.removeSessionLoginItem(item.reference));
    QVERIFY(!session.service.removeSessionLoginItem(text("../x")));
    QVERIFY(session.service.sessionLoginItems().empty());
    QVERIFY(!session.service.appendSessionLoginItem(session.path("nothing"), false));
    QVERIFY(session.service.appendSessionLoginItem(session.program, false));
    QCOMPARE(session.service.sessionLoginItems().front().reference, identifier);
  }
};

QTEST_GUILESS_MAIN(TestXdg)
#include "test_xdg.moc"
