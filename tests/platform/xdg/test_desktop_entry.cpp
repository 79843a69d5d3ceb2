#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include "platform/linux/xdg/desktop_entry.h"

using namespace halvard;

namespace {

QStringList list(std::initializer_list<const char*> texts) {
  QStringList result;
  for (const char* text : texts)
    result << QString::fromUtf8(text);
  return result;
}

}  // namespace

class TestDesktopEntry : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void commandSurvivesQuotingInAnEntry_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("exec");
    const auto row = [](QStringList arguments, const char* exec) {
      QTest::newRow(exec) << arguments << QString::fromUtf8(exec);
    };
    row(list({"/usr/bin/halvard-launcher"}), "/usr/bin/halvard-launcher");
    row(list({"/opt/My Programs/a", "--x=1"}), R"("/opt/My Programs/a" --x=1)");
    row(list({"/a", ""}), R"(/a "")");
    row(list({"/a\"b`c$d\\e"}), R"("/a\"b\`c\$d\\e")");
    row(list({"/a'b", "~", "#", "a|b;c&d", "(x)", "*?<>"}), R"x("/a'b" "~" "#" "a|b;c&d" "(x)" "*?<>")x");
    row(list({"/a", "50%", "%f", "100% sure"}), R"(/a 50%% %%f "100%% sure")");
    row(list({"/ü/\u0421"}), "/ü/\u0421");
  }

  void commandSurvivesQuotingInAnEntry() {
    QFETCH(QStringList, arguments);
    QTEST(execValue(arguments), "exec");
    QCOMPARE(execArguments(execValue(arguments)), arguments);
    const auto entry = parseDesktopEntry(autostartEntry(QStringLiteral("Name"), arguments));
    QVERIFY(entry);
    QCOMPARE(entry->arguments, arguments);
    QCOMPARE(entry->tryExec, arguments.first());
    QCOMPARE(entry->name, QStringLiteral("Name"));
    QVERIFY(entry->startsIn({}));
  }

  void entryPassesTheValidator() {
    const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    if (validator.isEmpty()) QSKIP("desktop-file-validate is not installed");
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("a.desktop"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(autostartEntry(QStringLiteral("Halvard"), list({"/opt/My $Programs/ha\\lvard", "100%", "a\"b"})));
    file.close();
    QProcess process;
    process.start(validator, {path});
    QVERIFY(process.waitForFinished());
    QVERIFY2(process.exitCode() == 0, process.readAll());
  }

  void entryStartsWhereItIsMeantTo_data() {
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<bool>("inXfce");
    QTest::addColumn<bool>("anywhere");
    const auto row = [](const char* lines, bool inXfce, bool anywhere) {
      QTest::newRow(lines) << QByteArray(lines) << inXfce << anywhere;
    };
    row("", true, true);
    row("Hidden=true", false, false);
    row("X-GNOME-Autostart-enabled=false", false, false);
    row("OnlyShowIn=KDE;XFCE;", true, false);
    row("OnlyShowIn=KDE", false, false);
    row("NotShowIn=XFCE;", false, true);
    row("NotShowIn=KDE;", true, true);
    row("Exec=\"open", false, false);
  }

  void entryStartsWhereItIsMeantTo() {
    QFETCH(QByteArray, lines);
    const auto entry = parseDesktopEntry("[Desktop Entry]\nType=Application\nName=A\nExec=a\n" + lines);
    QVERIFY(entry);
    QTEST(entry->startsIn(list({"ubuntu", "XFCE"})), "inXfce");
    QTEST(entry->startsIn({}), "anywhere");
  }

  void whatIsNoApplicationEntryIsNothing() {
    for (const char* content : {"", "text", "[Other]\nType=Application\n", "[Desktop Entry]\nType=Link\nExec=a\n",
                                "[Desktop Entry]\nExec=a\n", "[Desktop Entry\n", "\0\1\2"}) {
      QVERIFY2(!parseDesktopEntry(content), content);
    }
    QVERIFY(!parseDesktopEntry("[Desktop Entry]\nType=Application\n")->startsIn({}));
    QVERIFY(parseDesktopEntry("[Desktop Entry]\nHidden=true\n")->hidden);
  }

  void maskKeepsTheRestOfTheEntry() {
    const QByteArray entry = "# note\n[Desktop Entry]\nType=Application\nName=A\nName[de]=B\nExec=a\n\n[X]\nb=c\n";
    const QByteArray masked = maskedEntry(entry);
    QVERIFY(parseDesktopEntry(masked)->hidden);
    for (const char* part : {"# note", "Name[de]=B", "[X]\nb=c"})
      QVERIFY2(masked.contains(part), masked);
    QVERIFY(parseDesktopEntry(maskedEntry("text"))->hidden);
  }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "test_desktop_entry.moc"
