#include <fcntl.h>
#include <glib.h>
#include <linux/magic.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QtTest>
#include <array>
#include <limits>

#include "files_searcher/disk_tree.h"
#include "platform/linux/files/folder_records.h"
#include "platform/linux/files/linux_application_catalog.h"
#include "platform/linux/files/linux_folder_access.h"
#include "platform/linux/files/linux_last_used_dates.h"
#include "platform/linux/files/linux_search_mounts.h"
#include "platform/linux/files/package_sizes.h"
#include "platform/linux/files/xdg_standard_folders.h"
#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/volumes/linux_mounted_volumes.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

QByteArray deployFile(quint64 size) {
  GVariant* const deploy = g_variant_ref_sink(g_variant_new_parsed(
      "('origin', 'commit', @as ['part'], %t, @a{sv} {'key': <'value'>})", static_cast<guint64>(GUINT64_TO_BE(size))));
  const QByteArray bytes(static_cast<const char*>(g_variant_get_data(deploy)),
                         static_cast<qsizetype>(g_variant_get_size(deploy)));
  g_variant_unref(deploy);
  return bytes;
}

/// Both times of a file, in seconds since 1970.
void setTimes(const QByteArray& path, time_t read, time_t written) {
  const timespec times[2]{{read, 0}, {written, 0}};
  ::utimensat(AT_FDCWD, path.constData(), times, 0);
}

}  // namespace

class TestLinuxFiles : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  /// Before GLib reads them, which it does once.
  void initTestCase() {
    qputenv("XDG_CONFIG_HOME", m_data.path("config").toUtf8());
    qputenv("XDG_DATA_HOME", m_data.path("home").toUtf8());
    qputenv("XDG_DATA_DIRS", m_data.path("exports/share").toUtf8());
  }

  void bookmarkResolvesToTheSameFolderOnly() {
    DiskTree tree;
    const LinuxFolderAccess access;
    const QByteArray folder = tree.addFolder("folder\n\xff");
    const QByteArray bookmark = access.createBookmark(folder).value_or(QByteArray());
    QCOMPARE(access.resolveBookmark(bookmark), folder);

    QCOMPARE(::rename(folder.constData(), tree.at("renamed").constData()), 0);
    QVERIFY(!access.resolveBookmark(bookmark));
    tree.addFolder("folder\n\xff");
    QVERIFY(!access.resolveBookmark(bookmark));
    QCOMPARE(::rename(tree.at("renamed").constData(), folder.constData()), 0);
    QCOMPARE(access.resolveBookmark(bookmark), folder);

    QVERIFY(!access.createBookmark(tree.at("missing")));
    for (const QByteArray& broken : {QByteArray(), QByteArray("x"), bookmark.left(20), bookmark + "/more"})
      QVERIFY(!access.resolveBookmark(broken));
  }

  void bookmarkOfADiskThatWentOrWasChangedDoesNotResolve() {
    DiskTree tree;
    const LinuxFolderAccess access;
    const QByteArray place = tree.addFolder("disk");
    const auto plugIn = [&place] { return ::mount("none", place.constData(), "tmpfs", 0, "size=1m") == 0; };
    if (!plugIn()) QSKIP("mounting needs root");
    const QByteArray bookmark = access.createBookmark(place).value_or(QByteArray());
    const bool resolved = access.resolveBookmark(bookmark) == place;
    ::umount2(place.constData(), MNT_DETACH);
    const bool resolvedWithout = access.resolveBookmark(bookmark).has_value();
    const bool another = plugIn();
    const bool resolvedInAnother = access.resolveBookmark(bookmark).has_value();
    ::umount2(place.constData(), MNT_DETACH);
    QVERIFY(resolved && another);
    QVERIFY(!resolvedWithout);
    QVERIFY(!resolvedInAnother);
  }

  void listingThatEndedEarlyIsNotTakenForTheLast() {
    using folder_records::endsFolder;
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max(), last32 = 0x7fffffff;
    for (const std::int64_t other : {std::int64_t{0}, last - 1, last32 - 1, std::int64_t{0x568deae4640e05f6}})
      QVERIFY(!endsFolder(other, EXT4_SUPER_MAGIC) && !endsFolder(other, BTRFS_SUPER_MAGIC));
    QVERIFY(endsFolder(last, BTRFS_SUPER_MAGIC) && endsFolder(last32, BTRFS_SUPER_MAGIC));
    QVERIFY(endsFolder(last, EXT4_SUPER_MAGIC) && !endsFolder(last32, EXT4_SUPER_MAGIC));
    QVERIFY(!endsFolder(last, XFS_SUPER_MAGIC) && !endsFolder(last, TMPFS_MAGIC));
  }

  void lastListingOfAFolderIsKnownByItsLastRecord() {
    DiskTree tree("/var/tmp");
    struct statfs system {};
    QCOMPARE(::statfs(tree.path().constData(), &system), 0);
    if (system.f_type != EXT4_SUPER_MAGIC && system.f_type != BTRFS_SUPER_MAGIC) QSKIP("neither ext4 nor btrfs here");
    for (const int names : {0, 1, 500}) {
      for (int name = 0; name < names; ++name)
        tree.addFile("file" + QByteArray::number(name), 0);
      const FileDescriptor folder(::open(tree.path().constData(), O_RDONLY | O_DIRECTORY));
      // Small, so that the folder takes many calls.
      alignas(8) std::array<std::byte, 1024> buffer;
      bool ended = false;
      int seen = 0;
      while (!ended) {
        const long length = ::syscall(SYS_getdents64, folder.get(), buffer.data(), buffer.size());
        QVERIFY2(length > 0, "the end went unseen");
        const std::int64_t goesOnAt = folder_records::forEach(std::span(buffer).first(static_cast<std::size_t>(length)),
                                                              [&](const char*, std::uint8_t) { ++seen; });
        ended = folder_records::endsFolder(goesOnAt, system.f_type);
      }
      QCOMPARE(seen, names);
    }
  }

  void searchEntersLocalDisksOnceEach() {
    const auto everywhere = [](const QByteArray&, std::uint64_t) { return true; };
    const LinuxSearchMounts mounts(HALVARD_FIXTURES "/mountinfo", everywhere);
    const auto rules = mounts.rules();
    QList<int> entered;
    for (int id = 1; id < 60; ++id)
      if (rules->entersMount(static_cast<std::uint64_t>(id))) entered << id;
    QCOMPARE(entered, (QList<int>{21, 26, 30, 32, 33, 37}));
    QByteArrayList elsewhere;
    for (const MountAlias& alias : mounts.aliases())
      elsewhere << alias.mounted + " = " + alias.entered;
    QCOMPARE(elsewhere,
             (QByteArrayList{"/home/user/data = /var/lib/data", "/mnt/home-again = /home", "/mnt/logs = /srv/logs"}));
    QCOMPARE(mounts.hiddenLayers(),
             (std::vector<QByteArray>{"/var/lib/docker/overlay2/l/A", "/var/lib/docker/overlay2/l/B"}));
    QVERIFY(!LinuxSearchMounts("/no/such/table").rules()->entersMount(21));
    // Its other place is a closed folder, or another file system is mounted over it.
    const auto notThere = [](const QByteArray& place, std::uint64_t) { return place != "/var/lib/data"; };
    const LinuxSearchMounts closed(HALVARD_FIXTURES "/mountinfo", notThere);
    QVERIFY(closed.rules()->entersMount(27) && !closed.rules()->entersMount(34) && closed.aliases().size() == 2);
    // This machine has no such folders.
    QVERIFY(LinuxSearchMounts(HALVARD_FIXTURES "/mountinfo").aliases().empty());
    QVERIFY(!mounts.entriesAtPath("/no/such/path"));
  }

  void startUpDiskMayBeAFolderOfADiskThatIsMountedElsewhereAsAWhole() {
    const TestFolder folder;
    const QString table = folder.write("table",
                                       "40 21 8:4 / /sysroot rw - ext4 /dev/sda4 rw\n"
                                       "21 1 8:4 /deploy/1 / rw - ext4 /dev/sda4 rw\n"
                                       "41 21 8:4 /deploy/var /var rw - ext4 /dev/sda4 rw\n");
    const LinuxSearchMounts mounts(table.toUtf8(), [](const QByteArray&, std::uint64_t) { return true; });
    const auto rules = mounts.rules();
    QVERIFY(rules->entersMount(21) && rules->entersMount(40) && !rules->entersMount(41));
    QCOMPARE(mounts.aliases().at(0).entered, QByteArray("/sysroot/deploy/var"));
    QCOMPARE(mounts.hiddenLayers(), std::vector<QByteArray>{"/sysroot/deploy/1"});
    // What shows a folder shows it only if it is entered itself; a tmpfs lies over the folder at its first place.
    folder.write("table",
                 "21 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                 "22 21 8:1 /srv /data rw - ext4 /dev/sda1 rw\n"
                 "23 21 8:1 /srv/a /home rw - ext4 /dev/sda1 rw\n"
                 "24 21 0:9 / /srv/a rw - tmpfs tmpfs rw\n");
    const LinuxSearchMounts covered(table.toUtf8(),
                                    [](const QByteArray& place, std::uint64_t) { return place != "/srv/a"; });
    const auto coveredRules = covered.rules();
    QVERIFY(coveredRules->entersMount(23) && !coveredRules->entersMount(22) && covered.aliases().size() == 1);
  }

  void downloadsAreNeverTheWholeHome() {
    const XdgStandardFolders folders;
    const QByteArray usual = folders.findHomeDirectory() + "/Downloads";
    for (const auto& [line, expected] :
         {std::pair("XDG_DOWNLOAD_DIR=\"$HOME/\"\n", usual), {"", usual}, {"XDG_DOWNLOAD_DIR=\"/data\"\n", "/data"}}) {
      m_data.write("config/user-dirs.dirs", line);
      QCOMPARE(folders.downloads(), expected);
    }
  }

  void lastUseIsTheRecordedOneThenTheFileSystems() {
    const TestFolder folder;
    const QByteArray file = folder.write("a file", {}).toUtf8();
    const QByteArray list = folder.path("recently-used.xbel").toUtf8();
    setTimes(file, 1'000'000'000, 900'000'000);
    const LinuxLastUsedDates dates(list);
    const auto seconds = [&] {
      return std::chrono::duration_cast<std::chrono::seconds>(dates.lastUsedDate(file)->time_since_epoch()).count();
    };
    QCOMPARE(seconds(), 1'000'000'000);
    folder.write("recently-used.xbel",
                 "<?xml version=\"1.0\"?><xbel version=\"1.0\"><bookmark href=\"file://" + folder.path().toUtf8() +
                     "/a%20file\" added=\"2020-01-01T00:00:00Z\" modified=\"2020-01-01T00:00:00Z\" "
                     "visited=\"2021-01-01T00:00:00Z\"/></xbel>");
    QCOMPARE(seconds(), 1609459200);
    QVERIFY(!dates.lastUsedDate("/no/such/file"));
    folder.write("recently-used.xbel", "not a list");
    setTimes(list, 5, 5);
    QCOMPARE(seconds(), 1'000'000'000);
    setTimes(file, 1'000'000'000, 1'100'000'000);
    QVERIFY2(seconds() == 1'100'000'000, "who writes to a file uses it");
    setTimes(file, 1'000'000'000, 4'000'000'000);
    QVERIFY2(seconds() <= QDateTime::currentSecsSinceEpoch(), "no file was written in the future");
  }

  void changeTimeStandsInWhereReadingsAreNotKept() {
    DiskTree tree;
    const QByteArray place = tree.addFolder("mounted");
    if (::mount("none", place.constData(), "tmpfs", MS_NOATIME, "size=1m") != 0) QSKIP("mounting needs root");
    const QByteArray file = tree.addFile("mounted/file", 1);
    setTimes(file, 1'000'000'000, 1'000'000'000);
    const auto date = LinuxLastUsedDates(tree.at("none")).lastUsedDate(file);
    ::umount(place.constData());
    QVERIFY(date && std::chrono::system_clock::now() - *date < 1h);
  }

  void packageToolsAreUnderstood() {
    using namespace package_output;
    QCOMPARE(dpkgOwners("diversion by dash from: /bin/sh\nxterm: /usr/share/applications/debian-xterm.desktop\n"
                        "liba:amd64, liba:i386: /usr/share/a: b\n\nbroken line\n"),
             (std::map<QByteArray, QByteArray>{{"/usr/share/applications/debian-xterm.desktop", "xterm"},
                                               {"/usr/share/a: b", "liba:amd64"}}));
    QCOMPARE(dpkgSizes("xterm\t2388\nempty\t\nliba:amd64\t0\nx"),
             (std::map<QByteArray, ByteCount>{{"xterm", 2388 * 1024}, {"liba:amd64", 0}}));
    QCOMPARE(rpmOwner("gimp\t104857600\nbash\t7000000\n"), (OwningPackage{"rpm:gimp", 104857600}));
    QVERIFY(!rpmOwner("file /b is not owned by any package\n") && !rpmOwner({}));
    QVERIFY(!flatpakInstalledSize("nonsense"));
  }

  void fileOfTwoRpmPackagesDoesNotShiftTheOthers() {
    const TestFolder folder;
    folder.write("rpm",
                 "#!/bin/sh\nshift 4\nfor file; do case $file in *both) printf 'one\\t1\\ntwo\\t2\\n';; "
                 "*) printf 'own\\t5\\n';; esac; done\n");
    const QByteArray before = qgetenv("PATH");
    qputenv("PATH", folder.path().toUtf8());
    const auto owners = PackageSizes().ownersOfFiles({"/a", "/both", "/c"}, {});
    qputenv("PATH", before);
    const OwningPackage own{"rpm:own", 5};
    QCOMPARE(owners, (std::map<QByteArray, OwningPackage>{{"/a", own}, {"/both", {"rpm:one", 1}}, {"/c", own}}));
  }

  void flatpakAndSnapAreFoundByTheirFolders() {
    const TestFolder folder;
    const auto write = [&](const char* name, const QByteArray& content) {
      return folder.write(name, content).toUtf8();
    };
    write("app/org.x.Draw/current/active/deploy", deployFile(5000));
    write("snaps/notes_42.snap", QByteArray(777, 'x'));
    write("snap/notes/42/file", {});
    QVERIFY(QFile::link(QStringLiteral("42"), folder.path("snap/notes/current")));
    const QByteArray draw = write("exports/share/applications/org.x.Draw.desktop", {});
    const QByteArray second = write("exports/share/applications/org.x.Draw.Viewer.desktop", {});
    const QByteArray notes = write("snapd/desktop/applications/notes_notes.desktop", {});
    const QByteArray lost = write("snapd/desktop/applications/lost_lost.desktop", {});
    const PackageSizes sizes(folder.path("snap").toUtf8(), folder.path("snaps").toUtf8());
    const OwningPackage flatpak{"flatpak:" + folder.path().toUtf8() + ":org.x.Draw", 5000};
    QCOMPARE(sizes.ownersOfFiles({draw, second, notes, lost}, {}),
             (std::map<QByteArray, OwningPackage>{{draw, flatpak}, {second, flatpak}, {notes, {"snap:notes", 777}}}));
  }

  void ownEntriesCountUnderTheirPackageOrEachProgramOnce() {
    const auto entry = [](const QByteArray& command) {
      return "[Desktop Entry]\nType=Application\nName=x\nExec=" + command + "\n";
    };
    const QByteArray tool = m_data.write("tool", QByteArray(700, '#')).toUtf8();
    m_data.write("app/org.x.Draw/current/active/deploy", deployFile(5000));
    m_data.write("exports/share/applications/org.x.Draw.desktop", entry(tool));
    const QByteArray own = m_data.write("home/applications/org.x.Draw.desktop", entry(tool + " --mine")).toUtf8();
    for (const char* name : {"home/applications/one.desktop", "home/applications/two.desktop"})
      m_data.write(name, entry(tool + ' ' + name));
    std::map<QByteArray, ByteCount> found;
    const auto applications = LinuxApplicationCatalog().applications({});
    for (const CatalogApplication& application : applications)
      found[application.path] += application.size;
    QCOMPARE(found, (std::map<QByteArray, ByteCount>{{own, 5000}, {tool, 700}}));
    QCOMPARE(applications.size(), 2u);
  }

  void applicationFilesAreKnownByTheirContent() {
    const TestFolder folder;
    const LinuxApplicationCatalog catalog;
    const QByteArray image("\x7f\x45LF\x02\x01\x01\x00\x41I\x02", 11);
    QVERIFY(catalog.isApplicationFile(folder.write("Tool.AppImage", image).toUtf8()));
    QVERIFY(!catalog.isApplicationFile(folder.write("fake.AppImage", "text").toUtf8()));
    QVERIFY(!catalog.isApplicationFile(folder.write("Tool.bin", image).toUtf8()));
    const QByteArray bundle = folder.path("Draw.app").toUtf8();
    QVERIFY(!catalog.bundleIdentifier(bundle));
    folder.write("Draw.app/file", {});
    QCOMPARE(catalog.bundleIdentifier(bundle), QStringLiteral("Draw"));
    folder.write("Draw.app/org.x.Draw.desktop", {});
    QCOMPARE(catalog.bundleIdentifier(bundle), QStringLiteral("org.x.Draw"));
  }

  void localDisksAreListedOnceEachAndNothingElse() {
    const std::vector<MountedVolume> expected{
        {text("/"), text("Startup disk"), text("ext4"), true},
        {text("/home"), text("home"), text("btrfs"), true},
        {text("/snap/core/1"), text("1"), text("squashfs"), false},
        {text("/media/ann/USB stick"), text("USB stick"), text("vfat"), false},
        {text("/media/ann/Windows"), text("Windows"), text("fuseblk"), true},
        {text("/media/ann/frozen"), text("frozen"), text("ext4"), false},
    };
    QCOMPARE(LinuxMountedVolumes(text(HALVARD_FIXTURES "/volumes_mountinfo")).mountedLocalVolumes(), expected);
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

 private:
  const TestFolder m_data;
};

QTEST_GUILESS_MAIN(TestLinuxFiles)
#include "test_linux_files.moc"
