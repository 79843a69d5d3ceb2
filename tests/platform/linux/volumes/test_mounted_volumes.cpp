#include <QtTest>

#include "platform/linux/volumes/linux_mounted_volumes.h"
#include "support/texts.h"

using namespace halvard;

class TestMountedVolumes : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void localDisksAreListedOnceEachAndNothingElse() {
    const std::vector<MountedVolume> expected{
        {text("/"), text("Startup disk"), text("ext4"), true},
        {text("/home"), text("home"), text("btrfs"), true},
        {text("/snap/core/1"), text("1"), text("squashfs"), false},
        {text("/media/ann/USB stick"), text("USB stick"), text("vfat"), false},
        {text("/media/ann/Windows"), text("Windows"), text("fuseblk"), true},
        {text("/media/ann/frozen"), text("frozen"), text("ext4"), false},
    };
    QCOMPARE(LinuxMountedVolumes(text(HALVARD_FIXTURES "/mountinfo")).mountedLocalVolumes(), expected);
    QVERIFY(!LinuxMountedVolumes(text("/nonexistent")).mountedLocalVolumes());
  }

  void thisMachineHasAStartUpDiskMeasuredAsDfDoes() {
    LinuxMountedVolumes volumes;
    if (!QStorageInfo::root().device().startsWith("/dev/")) QSKIP("no disk of its own is the root here");
    const auto mounted = volumes.mountedLocalVolumes();
    QVERIFY(mounted && std::ranges::count(*mounted, text("/"), &MountedVolume::path) == 1);
    QVERIFY(!volumes.spaceAtPath(text("/nonexistent")));

    QProcess df;
    df.startCommand(text("df -B1 --output=size,avail /"));
    QVERIFY(df.waitForFinished());
    const QByteArrayList figures = df.readAll().split('\n').value(1).simplified().split(' ');
    const VolumeSpace space = volumes.spaceAtPath(text("/")).value_or(VolumeSpace{});
    QCOMPARE(space.size, figures.value(0).toULongLong());
    // Others write meanwhile.
    constexpr double tolerance = 256e6;
    const double available = figures.value(1).toDouble();
    QVERIFY(qAbs(static_cast<double>(space.freeSize) - available) < tolerance);
    QVERIFY(qAbs(volumes.startupDiskFreeSize().value_or(QString()).toDouble() - available) < tolerance);
  }
};

QTEST_GUILESS_MAIN(TestMountedVolumes)
#include "test_mounted_volumes.moc"
