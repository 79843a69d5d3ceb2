#include <QTemporaryDir>
#include <QtTest>

#include "platform/linux/gio/gio_workspace.h"

using namespace halvard;

namespace {

QByteArray content(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

/// Against a data and a configuration folder of its own, with one application that writes down how it was called.
class TestGioWorkspace : public QObject {
  Q_OBJECT

 private:
  QTemporaryDir m_home;
  QString m_calls = m_home.filePath(QStringLiteral("calls"));
  GioWorkspace m_workspace;

  void write(const QString& name, const QByteArray& text) {
    const QFileInfo target(m_home.filePath(name));
    QDir().mkpath(target.path());
    QFile file(target.filePath());
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  }

 private Q_SLOTS:
  void initTestCase() {
    qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
    qputenv("XDG_DATA_DIRS", m_home.filePath(QStringLiteral("none")).toUtf8());
    qputenv("XDG_CONFIG_HOME", m_home.filePath(QStringLiteral("config")).toUtf8());
    const QByteArray program = m_home.filePath(QStringLiteral("program")).toUtf8();
    write(QStringLiteral("program"), "#!/bin/sh\necho \"called:$*\" >> " + m_calls.toUtf8() + "\n");
    write(QStringLiteral("data/applications/org.example.Tool.desktop"),
          "[Desktop Entry]\nType=Application\nName=Tool\nExec=" + program + " %u\n");
    write(QStringLiteral("config/mimeapps.list"),
          "[Default Applications]\nx-scheme-handler/https=org.example.Tool.desktop\n"
          "x-scheme-handler/mailto=org.example.Tool.desktop\nx-scheme-handler/ssh=org.example.Tool.desktop\n"
          "x-scheme-handler/file=org.example.Tool.desktop\ntext/plain=org.example.Tool.desktop\n");
  }

  void addressesGoToTheUsersProgramUnchanged() {
    const QUrl page = QUrl::fromEncoded("https://a.example/?q=a%20b&c=%C3%A4");
    QVERIFY(m_workspace.openURL(page));
    QTRY_VERIFY(content(m_calls).contains("called:" + page.toEncoded() + "\n"));
    QVERIFY(m_workspace.openURL(QUrl(QStringLiteral("mailto:help@a.example?subject=x"))));
    QTRY_VERIFY(content(m_calls).contains("called:mailto:help@a.example?subject=x\n"));
  }

  void otherAddressesNeverLeaveTheProgram() {
    for (const char* address :
         {"ssh://a.example", "file:///etc/passwd", "app://close", "javascript:1", "/etc/passwd", ""}) {
      QVERIFY2(!m_workspace.openURL(QUrl(QString::fromLatin1(address))), address);
    }
    QVERIFY2(!m_workspace.openURL(QUrl(QStringLiteral("appstream://x"))), "no program takes it here");
  }

  void applicationsAreFoundAndStartedByTheirId() {
    const QString tool = QStringLiteral("org.example.Tool");
    QCOMPARE(m_workspace.pathOfApplication(tool),
             m_home.filePath(QStringLiteral("data/applications/org.example.Tool.desktop")));
    QCOMPARE(m_workspace.pathOfApplication(tool + QStringLiteral(".desktop")), m_workspace.pathOfApplication(tool));
    QVERIFY(m_workspace.launchApplication(tool));
    QTRY_VERIFY(content(m_calls).contains("called:\n"));
    for (const QString& other :
         {QStringLiteral("org.example.Other"), QString(), QStringLiteral("../org.example.Tool")}) {
      QVERIFY(!m_workspace.pathOfApplication(other) && !m_workspace.launchApplication(other));
    }
  }
};

QTEST_GUILESS_MAIN(TestGioWorkspace)
#include "test_gio_workspace.moc"
