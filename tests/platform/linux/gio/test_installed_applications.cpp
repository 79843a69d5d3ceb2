#include <QtTest>

#include "platform/linux/gio/installed_applications.h"

using namespace halvard;

namespace {
QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}
}  // namespace

class TestInstalledApplications : public QObject {
  Q_OBJECT

  std::unique_ptr<QTemporaryDir> m_folder;

  QString path(const char* name) const { return m_folder->filePath(text(name)); }
  void write(const char* name, const QByteArray& lines) {
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Desktop Entry]\nType=Application\n" + lines);
  }
  EntryFolders folders() const { return {{path("user"), path("system")}, {path("autostart"), path("missing")}}; }

 private Q_SLOTS:
  void init() { m_folder = std::make_unique<QTemporaryDir>(); }

  void entriesAreReadWithTheirFolders() {
    write("system/a.desktop", "Name=System's\nExec=/bin/sh -c %U\nIcon=a-icon\nStartupWMClass=A-Class\n");
    write("user/a.desktop", "Name=User's\nExec=/bin/sh\nIcon=/i.png\n");
    write("system/kde/b.desktop", "Name=B\nExec=env X=1 sh --flag %f @@u %U @@ word\nNoDisplay=true\nTerminal=true\n");
    write("system/masked.desktop", "Name=Masked\nExec=/bin/sh\n");
    write("user/masked.desktop", "Name=Masked\nExec=/bin/sh\nHidden=true\n");
    write("system/gone.desktop", "Name=Gone\nExec=/nonexistent/program\n");
    write("system/broken.desktop", "Exec");
    write("autostart/a.desktop", "Name=Started\nExec=/bin/sh\n");
    write("autostart/c.desktop", "Name=C\nExec=/bin/sh\n");
    InstalledApplications installed(folders());
    const auto index = installed.current();
    const auto a = index->byIds({text("nothing"), text("a")});
    QVERIFY(a);
    QCOMPARE(a->name, text("User's"));
    QCOMPARE(a->icon, text("/i.png"));
    QCOMPARE(a->file, path("user/a.desktop"));
    QVERIFY(a->isVisible() && !a->autostartOnly);
    QCOMPARE(index->byFile(path("user/a.desktop")), a);
    QCOMPARE(index->byFile(path("user//a.desktop")), a);
    QVERIFY(!index->byFile(QString()));
    const auto b = index->byIds({text("kde-b")});
    QVERIFY(b && b->hidden && b->inTerminal);
    QVERIFY(b->program.endsWith("/sh") && b->program.startsWith('/'));
    QCOMPARE(b->arguments, (QByteArrayList{"--flag", "word"}));
    for (const char* missing : {"masked", "gone", "broken", "b"})
      QVERIFY2(!index->byIds({text(missing)}), missing);
    const auto c = index->byIds({text("C")});
    QVERIFY(c && c->autostartOnly && !c->isVisible());
    QCOMPARE(installed.current(), index);
  }

  void changedFoldersAreReadAgain() {
    InstalledApplications installed(folders());
    QVERIFY(!installed.current()->byIds({text("a")}));
    write("user/a.desktop", "Name=A\nExec=/bin/sh\n");
    const auto before = installed.current();
    QVERIFY(before->byIds({text("a")}));
    write("user/sub/b.desktop", "Name=B\nExec=/bin/sh\n");
    QVERIFY(installed.current()->byIds({text("sub-b")}));
    QFile::remove(path("user/a.desktop"));
    QVERIFY(!installed.current()->byIds({text("a")}));
    QVERIFY(before->byIds({text("a")}));  // whoever holds an index keeps it
  }

  void windowsAreFoundByIdClassAndLastPart() {
    std::vector<InstalledApplication> entries(4);
    const char* ids[] = {"org.example.Calc", "term", "web", "org.other.calc"};
    for (std::size_t number = 0; number < entries.size(); ++number) {
      entries[number].id = text(ids[number]);
      entries[number].name = text(ids[number]);
    }
    entries[2].windowClass = text("Navigator");
    const ApplicationIndex index(entries);
    const auto found = [&](const char* application, const char* className, const char* instance) {
      const auto entry = index.byWindow(text(application), text(className), text(instance));
      return entry ? entry->id : QString();
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
    const auto entry = [](const char* id, const char* program, QByteArrayList arguments = {}) {
      InstalledApplication result;
      result.id = result.name = text(id);
      result.program = program;
      result.resolvedProgram = QByteArray("/resolved") + program;
      result.arguments = std::move(arguments);
      return result;
    };
    const ApplicationIndex index({entry("settings", "/bin/panel", {"--settings"}), entry("other", "/bin/x"),
                                  entry("x", "/bin/x"), entry("py", "/bin/python", {"/opt/tool.py"})});
    const auto found = [&](const char* executable, const QByteArrayList& arguments) {
      const auto match = index.byProgram(executable, arguments);
      return match ? match->id : QString();
    };
    QCOMPARE(found("/bin/x", {"x"}), text("x"));
    QCOMPARE(found("/resolved/bin/x", {}), text("x"));
    QCOMPARE(found("/bin/sh", {"sh", "/bin/x"}), text("x"));
    QCOMPARE(found("/bin/sh", {"sh", "-c", "/bin/x"}), QString());
    QCOMPARE(found("/bin/panel", {"panel"}), QString());
    QCOMPARE(found("/bin/panel", {"panel", "-v", "--settings"}), text("settings"));
    QCOMPARE(found("/bin/python", {"python", "/opt/tool.py"}), text("py"));
    QCOMPARE(found("/bin/python", {"python", "/opt/else.py"}), QString());
    QCOMPARE(found("", {}), QString());
  }

  void launchingStartsTheProgram() {
    const QByteArray mark = QFile::encodeName(path("started"));
    write("user/a.desktop", "Name=A\nExec=touch " + mark + "\n");
    QVERIFY(InstalledApplications::launch(path("user/a.desktop")));
    QTRY_VERIFY(QFile::exists(path("started")));
    QVERIFY(!InstalledApplications::launch(path("user/none.desktop")));
  }
};

QTEST_GUILESS_MAIN(TestInstalledApplications)
#include "test_installed_applications.moc"
