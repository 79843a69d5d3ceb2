#include <QProcess>
#include <QtTest>

#include "platform/linux/volumes/linux_mounted_volumes.h"

using namespace halvard;

class TestMountedVolumes : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void localDisksAreListedOnceEachAndNothingElse() {
    LinuxMountedVolumes volumes(QStringLiteral(HALVARD_FIXTURES "/mountinfo"));
    const auto volume = [](const char* path, const char* name, const char* type, bool writable) {
      return MountedVolume{QString::fromLatin1(path), QString::fromLatin1(name), QString::fromLatin1(type), writable};
    };
    const std::vector<MountedVolume> expected{
        volume("/", "Startup disk", "ext4", true),
        volume("/home", "home", "btrfs", true),
        volume("/snap/core/1", "1", "squashfs", false),
        volume("/media/ann/USB stick", "USB stick", "vfat", false),
        volume("/media/ann/Windows", "Windows", "fuseblk", true),
        volume("/media/ann/frozen", "frozen", "ext4", false),
    };
    const auto found = volumes.mountedLocalVolumes();
    QVERIFY(found);
    QCOMPARE(*found, expected);
    QVERIFY(!LinuxMountedVolumes(QStringLiteral("/nonexistent")).mountedLocalVolumes());
  }

  void thisMachineHasAStartUpDiskMeasuredAsDfDoes() {
    LinuxMountedVolumes volumes;
    const auto mounted = volumes.mountedLocalVolumes();
    QVERIFY(mounted);
    QVERIFY(std::any_of(mounted->begin(), mounted->end(), [](const auto& v) { return v.path == QLatin1String("/"); }));
    QVERIFY(!volumes.spaceAtPath(QStringLiteral("/nonexistent")));

    QProcess df;
    df.start(QStringLiteral("df"), {QStringLiteral("-B1"), QStringLiteral("--output=size,avail"), QStringLiteral("/")});
    QVERIFY(df.waitForFinished());
    const QList<QByteArray> figures = df.readAllStandardOutput().split('\n').value(1).simplified().split(' ');
    const auto space = volumes.spaceAtPath(QStringLiteral("/"));
    QVERIFY(space);
    QCOMPARE(space->size, figures.value(0).toULongLong());
    // Others write meanwhile.
    constexpr double tolerance = 256e6;
    QVERIFY(qAbs(static_cast<double>(space->freeSize) - figures.value(1).toDouble()) < tolerance);
    bool isNumber = false;
    const double text = volumes.startupDiskFreeSize().value_or(QString()).toDouble(&isNumber);
    QVERIFY(isNumber && qAbs(text - figures.value(1).toDouble()) < tolerance);
  }
};

QTEST_GUILESS_MAIN(TestMountedVolumes)
#include "test_mounted_volumes.moc"
