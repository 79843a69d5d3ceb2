#include <QProcess>
#include <QtTest>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/processes/linux_process_table.h"
#include "platform/linux/processes/process_facts.h"
#include "platform/linux/processes/process_handle.h"
#include "process_fixture.h"

using namespace halvard;
using test::ProcessFixture;

namespace {

const QByteArray kSession = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

QByteArray strings(std::initializer_list<const char*> list) {
  QByteArray text;
  for (const char* string : list)
    text.append(string).append('\0');
  return text;
}

std::string_view view(const QByteArray& text) {
  return {text.constData(), std::size_t(text.size())};
}

std::uint64_t startTimeOf(qint64 pid) {
  LinuxProcessTable table(0);
  for (const ProcessRecord& record : *table.read().processes) {
    if (record.pid == pid) return record.startTime;
  }
  return 0;
}

}  // namespace

class TestProcessFacts : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void unitsNameApplications_data() {
    QTest::addColumn<QByteArray>("unit");
    QTest::addColumn<QString>("ids");  // empty: no application unit
    const auto row = [](const char* unit, const char* ids) {
      QTest::newRow(unit) << QByteArray(unit) << QString::fromLatin1(ids);
    };
    row("app-gnome-org.gnome.Calculator-4321.scope", "org.gnome.Calculator gnome-org.gnome.Calculator");
    row("app-gnome-firefox\\x2desr-1234.scope", "firefox-esr gnome-firefox-esr");
    row("app-org.kde.konsole-1b5b7c57.scope", "org.kde.konsole");
    row("app-firefox-esr-77.scope", "esr firefox-esr");
    row("app-org.gnome.Maps@12.service", "org.gnome.Maps");
    row("app-gnome-nm\\x2dapplet@autostart.service", "nm-applet gnome-nm-applet");
    row("flatpak-org.gimp.GIMP-88.scope", "org.gimp.GIMP");
    row("snap.firefox.firefox-4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "firefox_firefox");
    row("snap.code.code-url.4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "code_code-url");
    row("app-x.scope/inner", "x");
    row("app-a\\x2-1.scope", "a\\x2");  // no whole escape
    row("app-x-1.scope/app-y-2.scope", "y");
    row("app-org.gnome.Terminal.slice/vte-spawn-1.scope", "");
    row("snap.lxd.daemon.service", "");
    row("app-.scope", "");
    row("gnome-shell.service", "");
  }
  void unitsNameApplications() {
    QFETCH(QByteArray, unit);
    QFETCH(QString, ids);
    const QByteArray unified = "0::" + kSession + unit + '\n';
    const QByteArray legacy = "3:cpuset:/app.slice/app-no-1.scope\n1:name=systemd:" + kSession + unit + "\n0::/\n";
    for (const QByteArray& text : {unified, legacy, unified.chopped(1)}) {
      const auto found = applicationUnit(view(text));
      QCOMPARE(found.has_value(), !ids.isEmpty());
      if (!found) continue;
      QCOMPARE(found->desktopIds.join(QLatin1Char(' ')), ids);
      QCOMPARE(found->user, std::optional<std::uint32_t>(1000));
      QVERIFY(found->path.startsWith(kSession) && !found->path.endsWith("/inner"));
    }
  }

  void unitsOutsideTheApplicationsSliceAreNone() {
    QVERIFY(!applicationUnit("0::/system.slice/app-x-1.scope\n"));
    QVERIFY(!applicationUnit("0::/app-x-1.scope\n0:/app.slice/app-x-1.scope\n"));
    QVERIFY(!applicationUnit("garbage\n::\n0::"));
    const auto unit = applicationUnit("0::/app.slice/app-x-1.scope");
    QVERIFY(unit && !unit->user);
    QVERIFY(applicationUnit("0::/user.slice/snap.a.b-4706fe54-7802-4808-aa7e-ae8b567239e0.scope"));
  }

  void badPidsInAnEnvironmentAreNone() {
    for (const char* bad : {"", "x", "42x", "99999999999"}) {
      const QByteArray pid = QByteArray("GIO_LAUNCHED_DESKTOP_FILE_PID=") + bad;
      QVERIFY2(!parseLaunchEnvironment(view(pid)).desktopFilePid, bad);
    }
  }

  void factsOfAProcess() {
    ProcessFixture fixture;
    FactsBuffer buffer;
    ProcessDirectory directory(fixture.root());
    const auto user = ::getuid();
    fixture.write(42, "cgroup", "0::/user.slice/user-" + QByteArray::number(user) + ".slice/app.slice/app-x-1.scope\n");
    fixture.write(42, "cmdline", strings({"/opt/x", "", "-v"}));
    fixture.write(42, "environ",
                  strings({"GIO_LAUNCHED_DESKTOP_FILE=/x.desktop", "GIO_LAUNCHED_DESKTOP_FILE_PID=42",
                           "APPIMAGE=/opt/x.AppImage", "APPDIR=/tmp/m"}));
    fixture.link(42, "exe", QStringLiteral("/tmp/m/usr/x (deleted)"));
    ProcessFacts facts = readProcessFacts(directory, 42, user, buffer);
    QVERIFY(facts.isOwn && facts.unit);
    QCOMPARE(facts.executable, QByteArray("/tmp/m/usr/x"));
    QCOMPARE(facts.arguments, (QByteArrayList{"/opt/x", "", "-v"}));
    QCOMPARE(facts.desktopFile, QByteArray("/x.desktop"));
    QCOMPARE(facts.appImage, QByteArray("/opt/x.AppImage"));
    // Inherited, and outside the image.
    fixture.write(42, "environ",
                  strings({"GIO_LAUNCHED_DESKTOP_FILE=/x.desktop", "GIO_LAUNCHED_DESKTOP_FILE_PID=41",
                           "APPIMAGE=/opt/x.AppImage", "APPDIR=/tmp/mm"}));
    facts = readProcessFacts(directory, 42, user, buffer);
    QVERIFY(facts.desktopFile.isEmpty() && facts.appImage.isEmpty());
    // Another user's, by the unit's path or by the owner where the path does not say.
    fixture.write(42, "cgroup", "0::/user.slice/user-7777.slice/app.slice/app-x-1.scope\n");
    QVERIFY(!readProcessFacts(directory, 42, user, buffer).unit);
    fixture.write(42, "cgroup", "0::/app.slice/app-x-1.scope\n");
    QVERIFY(readProcessFacts(directory, 42, user, buffer).unit);
    facts = readProcessFacts(directory, 42, user + 1, buffer);
    QVERIFY(!facts.isOwn && !facts.unit && facts.executable.isEmpty());
    QVERIFY(!readProcessFacts(directory, 43, user, buffer).isOwn);
  }

  void handlesKnowTheirProcessOnly() {
    QProcess child;
    child.start(QStringLiteral("/bin/sleep"), {QStringLiteral("600")});
    QVERIFY(child.waitForStarted());
    const auto pid = static_cast<std::int32_t>(child.processId());
    const std::uint64_t start = startTimeOf(pid);
    const auto handle = ProcessHandle::open(pid, start);
    QVERIFY(handle && !handle->hasEnded());
    QVERIFY(!ProcessHandle::open(pid, start - 1));  // as if the pid had been reused
    QVERIFY(!ProcessHandle::open(0x7fffffff, start));
    QVERIFY(handle->send(SIGKILL));
    siginfo_t info;
    QCOMPARE(::waitid(P_PID, id_t(pid), &info, WEXITED | WNOWAIT), 0);
    QVERIFY(handle->hasEnded());  // a zombie has ended
    QVERIFY(!handle->send(SIGTERM));
    QVERIFY(!ProcessHandle::open(pid, start));
    child.waitForFinished();
    QVERIFY(handle->hasEnded());
  }
};

QTEST_GUILESS_MAIN(TestProcessFacts)
#include "test_process_facts.moc"
