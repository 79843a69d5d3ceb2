#include <QtTest>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/processes/process_facts.h"
#include "platform/linux/processes/process_handle.h"
#include "process_fixture.h"
#include "support/idle_process.h"

using namespace halvard;
using test::ProcessFixture;

namespace {

const QByteArray kSession = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

QByteArray strings(const QByteArrayList& list) {
  return list.join('\0') + '\0';
}

std::string_view view(const QByteArray& text) {
  return {text.constData(), std::size_t(text.size())};
}

}  // namespace

class TestProcessFacts : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void unitsNameApplications() {
    const std::pair<const char*, const char*> cases[] = {
        {"app-gnome-org.gnome.Calculator-4321.scope", "org.gnome.Calculator gnome-org.gnome.Calculator"},
        {"app-gnome-firefox\\x2desr-1234.scope", "firefox-esr gnome-firefox-esr"},
        {"app-org.kde.konsole-1b5b7c57.scope", "org.kde.konsole"},
        {"app-firefox-esr-77.scope", "esr firefox-esr"},
        {"app-org.gnome.Maps@12.service", "org.gnome.Maps"},
        {"app-gnome-nm\\x2dapplet@autostart.service", "nm-applet gnome-nm-applet"},
        {"flatpak-org.gimp.GIMP-88.scope", "org.gimp.GIMP"},
        {"snap.firefox.firefox-4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "firefox_firefox"},
        {"snap.code.code-url.4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "code_code-url"},
        {"app-x.scope/inner", "x"},
        {"app-a\\x2-1.scope", "a\\x2"},  // no whole escape
        {"app-x-1.scope/app-y-2.scope", "y"},
        // No application's.
        {"app-org.gnome.Terminal.slice/vte-spawn-1.scope", ""},
        {"snap.lxd.daemon.service", ""},
        {"app-.scope", ""},
        {"gnome-shell.service", ""}};
    for (const auto& [unit, ids] : cases) {
      const QByteArray unified = "0::" + kSession + unit + '\n';
      const QByteArray legacy = "3:cpuset:/app.slice/app-no-1.scope\n1:name=systemd:" + kSession + unit + "\n0::/\n";
      for (const QByteArray& text : {unified, legacy, unified.chopped(1)}) {
        const auto found = applicationUnit(view(text));
        QCOMPARE(found ? found->desktopIds.join(QLatin1Char(' ')) : QString(), QLatin1String(ids));
        if (!found) continue;
        QCOMPARE(found->user, std::optional<std::uint32_t>(1000));
        QVERIFY(found->path.startsWith(kSession) && !found->path.endsWith("/inner"));
      }
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
    // Inherited or no pid, and outside the image.
    for (const char* pid : {"41", "42x"}) {
      fixture.write(42, "environ",
                    strings({"GIO_LAUNCHED_DESKTOP_FILE=/x.desktop", QByteArray("GIO_LAUNCHED_DESKTOP_FILE_PID=") + pid,
                             "APPIMAGE=/opt/x.AppImage", "APPDIR=/tmp/mm"}));
      facts = readProcessFacts(directory, 42, user, buffer);
      QVERIFY2(facts.desktopFile.isEmpty() && facts.appImage.isEmpty(), pid);
    }
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
    const test::IdleProcess child(4096);
    const auto handle = ProcessHandle::open(child.pid(), child.startTime());
    QVERIFY(handle && !handle->hasEnded());
    QVERIFY(!ProcessHandle::open(child.pid(), child.startTime() - 1));  // as if the pid had been reused
    QVERIFY(!ProcessHandle::open(0x7fffffff, child.startTime()));
    QVERIFY(handle->send(SIGKILL));
    siginfo_t info;
    QCOMPARE(::waitid(P_PID, id_t(child.pid()), &info, WEXITED | WNOWAIT), 0);
    QVERIFY(handle->hasEnded());  // a zombie has ended
    QVERIFY(!handle->send(SIGTERM));
    QVERIFY(!ProcessHandle::open(child.pid(), child.startTime()));
  }
};

QTEST_GUILESS_MAIN(TestProcessFacts)
#include "test_process_facts.moc"
