#include <QtTest>

#include "platform/linux/xdg/desktop_entry.h"
#include "support/texts.h"

using namespace halvard;

class TestDesktopEntry : public QObject {
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

  void entryStartsWhereItIsMeantTo() {
    const std::tuple<const char*, bool, bool> rows[] = {
        {"", true, true},
        {"Hidden=true", false, false},
        {"X-GNOME-Autostart-enabled=false", false, false},
        {"OnlyShowIn=KDE;XFCE;", true, false},
        {"OnlyShowIn=KDE", false, false},
        {"NotShowIn=XFCE;", false, true},
        {"NotShowIn=KDE;", true, true},
        {"Exec=\"open", false, false},
    };
    for (const auto& [lines, inXfce, anywhere] : rows) {
      const auto entry = parseDesktopEntry(QByteArray("[Desktop Entry]\nType=Application\nName=A\nExec=a\n") + lines);
      QVERIFY2(entry && entry->startsIn(texts({"ubuntu", "XFCE"})) == inXfce, lines);
      QVERIFY2(entry->startsIn({}) == anywhere, lines);
    }
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
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "test_desktop_entry.moc"
