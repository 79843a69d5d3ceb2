#include <QtTest>

#include "platform/linux/gio/gio_workspace.h"
#include "platform/linux/gio/installed_applications.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;

namespace {

struct EntryFolder : TestFolder {
  QString writeEntry(const char* name, const QByteArray& lines) const {
    return write(name, "[Desktop Entry]\nType=Application\n" + lines);
  }
  EntryFolders folders() const { return {{path("user"), path("system")}, {path("autostart"), path("missing")}}; }
};

QString idOf(const InstalledApplicationPointer& entry) {
  return entry ? entry->id : QString();
}

}  // namespace

/// The workspace works on a data and a configuration folder of its own, with one application that writes down how it
/// was called.
class TestGio : public QObject {
  Q_OBJECT

  TestFolder m_home;
  GioWorkspace m_workspace;

  bool wasCalledWith(const QByteArray& argument) const {
    return m_home.read("calls").contains("called:" + argument + '\n');
  }

 private Q_SLOTS:
  void initTestCase() {
    qputenv("XDG_DATA_HOME", m_home.path("data").toUtf8());
    qputenv("XDG_DATA_DIRS", m_home.path("none").toUtf8());
    qputenv("XDG_CONFIG_HOME", m_home.path("config").toUtf8());
    const QByteArray calls = m_home.path("calls").toUtf8();
    const QByteArray program = m_home.write("program", "#!/bin/sh\necho \"called:$*\" >> " + calls + "\n").toUtf8();
    m_home.write("data/applications/org.example.Tool.desktop",
                 "[Desktop Entry]\nType=Application\nName=Tool\nExec=" + program + " %u\n");
    QByteArray handlers = "[Default Applications]\n";
    for (const char* scheme : {"https", "mailto", "ssh", "file"})
      handlers += QByteArray("x-scheme-handler/") + scheme + "=org.example.Tool.desktop\n";
    m_home.write("config/mimeapps.list", handlers + "text/plain=org.example.Tool.desktop\n");
  }

  void addressesGoToTheUsersProgramUnchanged() {
    for (const QByteArray address : {"https://a.example/?q=a%20b&c=%C3%A4", "mailto:help@a.example?subject=x"}) {
      QVERIFY(m_workspace.openURL(QUrl::fromEncoded(address)));
      QTRY_VERIFY(wasCalledWith(address));
    }
  }

  void otherAddressesNeverLeaveTheProgram() {
    for (const char* address :
         {"ssh://a.example", "file:///etc/passwd", "app://close", "javascript:1", "/etc/passwd", ""})
      QVERIFY2(!m_workspace.openURL(QUrl(text(address))), address);
    QVERIFY2(!m_workspace.openURL(QUrl(text("appstream://x"))), "no program takes it here");
  }

  void applicationsAreFoundAndStartedByTheirId() {
    for (const QString& id : texts({"org.example.Tool", "org.example.Tool.desktop"}))
      QCOMPARE(m_workspace.pathOfApplication(id), m_home.path("data/applications/org.example.Tool.desktop"));
    QVERIFY(m_workspace.launchApplication(text("org.example.Tool")));
    QTRY_VERIFY(wasCalledWith(""));
    QFile::remove(m_home.path("calls"));
    QVERIFY(InstalledApplications::launch(m_home.path("data/applications/org.example.Tool.desktop")));
    QTRY_VERIFY(wasCalledWith(""));
    QVERIFY(!InstalledApplications::launch(m_home.path("none.desktop")));
    for (const QString& other : texts({"org.example.Other", "", "../org.example.Tool"}))
      QVERIFY(!m_workspace.pathOfApplication(other) && !m_workspace.launchApplication(other));
  }

  void entriesAreReadWithTheirFolders() {
    const EntryFolder folder;
    folder.writeEntry("system/a.desktop", "Name=System's\nExec=/bin/sh -c %U\nIcon=a-icon\n");
    const QString file = folder.writeEntry("user/a.desktop", "Name=User's\nExec=/bin/sh\nIcon=/i.png\n");
    folder.writeEntry("system/kde/b.desktop",
                      "Name=B\nExec=env X=1 sh --flag %f @@u %U @@ word\nNoDisplay=true\nTerminal=true\n");
    folder.writeEntry("system/masked.desktop", "Name=Masked\nExec=/bin/sh\n");
    folder.writeEntry("user/masked.desktop", "Name=Masked\nExec=/bin/sh\nHidden=true\n");
    folder.writeEntry("system/bare.desktop", "Name=Masked\nExec=/bin/sh\n");
    folder.write("user/bare.desktop", "[Desktop Entry]\nHidden=true\n");
    folder.writeEntry("system/gone.desktop", "Name=Gone\nExec=/nonexistent/program\n");
    folder.writeEntry("system/broken.desktop", "Exec");
    folder.writeEntry("autostart/a.desktop", "Name=Started\nExec=/bin/sh\n");
    folder.writeEntry("autostart/c.desktop", "Name=C\nExec=/bin/sh\n");
    InstalledApplications installed(folder.folders());
    const auto index = installed.current();
    const auto a = index->byIds(texts({"nothing", "a"}));
    QVERIFY(a && a->isVisible());
    QCOMPARE(a->name, text("User's"));
    QCOMPARE(a->icon, text("/i.png"));
    QCOMPARE(a->file, file);
    QCOMPARE(index->byFile(folder.path("user//a.desktop")), a);
    QVERIFY(!index->byFile(QString()));
    const auto b = index->byIds(texts({"kde-b"}));
    QVERIFY(b && b->hidden && b->inTerminal && b->program.endsWith("/sh") && b->program.startsWith('/'));
    QCOMPARE(b->arguments, (QByteArrayList{"--flag", "word"}));
    for (const char* missing : {"masked", "bare", "gone", "broken", "b"})
      QVERIFY2(!index->byIds(texts({missing})), missing);
    const auto c = index->byIds(texts({"C"}));
    QVERIFY(c && c->autostartOnly && !c->isVisible());
    QCOMPARE(installed.current(), index);
  }

  void changedFoldersAreReadAgain() {
    const EntryFolder folder;
    InstalledApplications installed(folder.folders());
    QVERIFY(!installed.current()->byIds(texts({"a"})));
    const QString file = folder.writeEntry("user/a.desktop", "Name=A\nExec=/bin/sh\n");
    const auto before = installed.current();
    QVERIFY(before->byIds(texts({"a"})));
    folder.writeEntry("user/sub/b.desktop", "Name=B\nExec=/bin/sh\n");
    QVERIFY(installed.current()->byIds(texts({"sub-b"})));
    QFile::remove(file);
    QVERIFY(!installed.current()->byIds(texts({"a"})));
    QVERIFY(before->byIds(texts({"a"})));  // whoever holds an index keeps it
  }

  void windowsAreFoundByIdClassAndLastPart() {
    std::vector<InstalledApplication> entries;
    for (const QString& id : texts({"org.example.Calc", "term", "web", "org.other.calc"}))
      entries.push_back({id, {}, id, {}, id == text("web") ? text("Navigator") : QString(), {}, {}, {}});
    const ApplicationIndex index(entries);
    const auto found = [&](const char* application, const char* className, const char* instance) {
      return idOf(index.byWindow(text(application), text(className), text(instance)));
    };
    QCOMPARE(found("org.example.Calc", "X", "x"), text("org.example.Calc"));
    QCOMPARE(found("", "navigator", "x"), text("web"));
    QCOMPARE(found("", "Term", "x"), text("term"));
    QCOMPARE(found("", "X", "term"), text("term"));
    QCOMPARE(found("", "Calc", "calc"), text("org.example.Calc"));
    QCOMPARE(found("", "Org.Other.Calc", ""), text("org.other.calc"));
    QCOMPARE(found("", "", ""), QString());
  }

  void programsAreFoundWithTheWordsOfTheirCommandLine() {
    const auto entry = [](const char* id, const char* program, const QByteArrayList& arguments = {}) {
      const QByteArray resolved = QByteArray("/resolved") + program;
      return InstalledApplication{text(id), {}, text(id), {}, {}, program, resolved, arguments};
    };
    const ApplicationIndex index({entry("settings", "/bin/panel", {"--settings"}), entry("other", "/bin/x"),
                                  entry("x", "/bin/x"), entry("py", "/bin/python", {"/opt/tool.py"})});
    const auto found = [&](const char* executable, const QByteArrayList& arguments) {
      return idOf(index.byProgram(executable, arguments));
    };
    QCOMPARE(found("/bin/x", {"x"}), text("x"));
    QCOMPARE(found("/resolved/bin/x", {}), text("x"));
    QCOMPARE(found("/bin/sh", {"sh", "/bin/x"}), text("x"));
    QCOMPARE(found("/bin/sh", {"sh", "-c", "/bin/x"}), QString());
    QCOMPARE(found("/bin/panel", {"panel"}), QString());
    QCOMPARE(found("/bin/panel", {"panel", "-v", "--settings"}), text("settings"));
    QCOMPARE(found("/bin/python", {"python", "/opt/tool.py"}), text("py"));
    QCOMPARE(found("", {}), QString());
  }
};

QTEST_GUILESS_MAIN(TestGio)
#include "test_gio.moc"
