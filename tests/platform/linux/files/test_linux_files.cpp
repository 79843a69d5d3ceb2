#include <fcntl.h>
#include <glib.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QtTest>
#include <thread>

#include "files_searcher/disk_tree.h"
#include "platform/linux/files/idle_priority.h"
#include "platform/linux/files/linux_application_catalog.h"
#include "platform/linux/files/linux_folder_access.h"
#include "platform/linux/files/linux_last_used_dates.h"
#include "platform/linux/files/linux_search_mounts.h"
#include "platform/linux/files/package_sizes.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

void write(const QByteArray& path, const QByteArray& content) {
  QFile file(QFile::decodeName(path));
  QVERIFY(file.open(QIODevice::WriteOnly));
  file.write(content);
}

QByteArray deployFile(quint64 size) {
  GVariant* const deploy = g_variant_ref_sink(g_variant_new_parsed(
      "('origin', 'commit', @as ['part'], %t, @a{sv} {'key': <'value'>})", static_cast<guint64>(GUINT64_TO_BE(size))));
  const QByteArray bytes(static_cast<const char*>(g_variant_get_data(deploy)),
                         static_cast<qsizetype>(g_variant_get_size(deploy)));
  g_variant_unref(deploy);
  return bytes;
}

}  // namespace

class TestLinuxFiles : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void bookmarkResolvesToTheSameFolderOnly() {
    DiskTree tree;
    const LinuxFolderAccess access;
    const QByteArray folder = tree.addFolder("folder\n\xff");
    const auto bookmark = access.createBookmark(folder);
    QVERIFY(bookmark);
    QCOMPARE(access.resolveBookmark(*bookmark), folder);

    QCOMPARE(::rename(folder.constData(), tree.at("renamed").constData()), 0);
    QVERIFY(!access.resolveBookmark(*bookmark));
    tree.addFolder("folder\n\xff");
    QVERIFY(!access.resolveBookmark(*bookmark));
    QCOMPARE(::rmdir(folder.constData()), 0);
    QCOMPARE(::rename(tree.at("renamed").constData(), folder.constData()), 0);
    QCOMPARE(access.resolveBookmark(*bookmark), folder);

    QVERIFY(!access.createBookmark(tree.at("missing")));
    for (const QByteArray& broken : {QByteArray(), QByteArray("x"), bookmark->left(20), *bookmark + "/more"})
      QVERIFY(!access.resolveBookmark(broken));
  }

  void bookmarkOfAnUnmountedFolderDoesNotResolve() {
    DiskTree tree;
    const LinuxFolderAccess access;
    const QByteArray place = tree.addFolder("mounted");
    if (::mount("none", place.constData(), "tmpfs", 0, "size=1m") != 0) QSKIP("mounting needs root");
    tree.addFolder("mounted/inside");
    const auto top = access.createBookmark(place);
    const auto inside = access.createBookmark(place + "/inside");
    const bool resolved = access.resolveBookmark(*top) == place && access.resolveBookmark(*inside).has_value();
    ::umount(place.constData());
    QVERIFY(resolved);
    QVERIFY(!access.resolveBookmark(*top));
    tree.addFolder("mounted/inside");
    QVERIFY(!access.resolveBookmark(*inside));
  }

  void searchEntersLocalDisksOnceEach() {
    const LinuxSearchMounts mounts(HALVARD_FIXTURES "/mountinfo");
    const auto rules = mounts.rules();
    QList<int> entered;
    for (int id = 1; id < 60; ++id) {
      if (rules->entersMount(static_cast<std::uint64_t>(id))) entered << id;
    }
    QCOMPARE(entered, (QList<int>{21, 26, 30, 32, 33, 37}));
    QList<QByteArray> elsewhere;
    for (const MountAlias& alias : mounts.aliases())
      elsewhere << alias.mounted << alias.entered;
    QCOMPARE(elsewhere, (QList<QByteArray>{"/home/user/data", "/var/lib/data", "/mnt/home-again", "/home", "/mnt/logs",
                                           "/srv/logs"}));
    QCOMPARE(mounts.hiddenLayers(),
             (std::vector<QByteArray>{"/var/lib/docker/overlay2/l/A", "/var/lib/docker/overlay2/l/B"}));
    QVERIFY(!LinuxSearchMounts("/no/such/table").rules()->entersMount(21));

    // A system whose start-up disk is a folder of the disk that is mounted elsewhere as a whole.
    DiskTree tree;
    write(tree.at("table"),
          "40 21 8:4 / /sysroot rw - ext4 /dev/sda4 rw\n21 1 8:4 /deploy/1 / rw - ext4 /dev/sda4 rw\n"
          "41 21 8:4 /deploy/var /var rw - ext4 /dev/sda4 rw\n");
    const LinuxSearchMounts deployed(tree.at("table"));
    QVERIFY(deployed.rules()->entersMount(21) && deployed.rules()->entersMount(40));
    QVERIFY(!deployed.rules()->entersMount(41));
    QCOMPARE(deployed.aliases().at(0).entered, QByteArray("/sysroot/deploy/var"));
    QCOMPARE(deployed.hiddenLayers(), std::vector<QByteArray>{"/sysroot/deploy/1"});
    QVERIFY(!LinuxSearchMounts().entriesAtPath("/no/such/path"));
  }

  void lastUseIsTheRecordedOneThenTheFileSystems() {
    DiskTree tree;
    const QByteArray known = tree.addFile("known file", 1);
    const QByteArray unknown = tree.addFile("other", 1);
    const timespec read{1'000'000'000, 0};
    const timespec times[2]{read, {1'100'000'000, 0}};
    ::utimensat(AT_FDCWD, unknown.constData(), times, 0);
    ::utimensat(AT_FDCWD, known.constData(), times, 0);
    const QByteArray list = tree.at("recently-used.xbel");
    const LinuxLastUsedDates dates(list);
    const auto seconds = [&](const QByteArray& path) {
      return std::chrono::duration_cast<std::chrono::seconds>(dates.lastUsedDate(path)->time_since_epoch()).count();
    };
    QCOMPARE(seconds(known), 1'000'000'000);
    write(list, "<?xml version=\"1.0\"?><xbel version=\"1.0\"><bookmark href=\"file://" + tree.path() +
                    "/known%20file\" added=\"2020-01-01T00:00:00Z\" modified=\"2020-01-01T00:00:00Z\" "
                    "visited=\"2021-01-01T00:00:00Z\"/></xbel>");
    QCOMPARE(seconds(known), 1609459200);
    QCOMPARE(seconds(unknown), 1'000'000'000);
    QVERIFY(!dates.lastUsedDate(tree.at("missing")));
    write(list, "not a list");
    const timespec changed[2]{{5, 0}, {5, 0}};
    ::utimensat(AT_FDCWD, list.constData(), changed, 0);
    QCOMPARE(seconds(known), 1'000'000'000);
  }

  void changeTimeStandsInWhereReadingsAreNotKept() {
    DiskTree tree;
    const QByteArray place = tree.addFolder("mounted");
    if (::mount("none", place.constData(), "tmpfs", MS_NOATIME, "size=1m") != 0) QSKIP("mounting needs root");
    const QByteArray file = tree.addFile("mounted/file", 1);
    const timespec times[2]{{1'000'000'000, 0}, {1'000'000'000, 0}};
    ::utimensat(AT_FDCWD, file.constData(), times, 0);
    const auto date = LinuxLastUsedDates(tree.at("none")).lastUsedDate(file);
    ::umount(place.constData());
    QVERIFY(date && std::chrono::system_clock::now() - *date < 1h);
  }

  void packageToolsAreUnderstood() {
    using namespace package_output;
    const auto owners = dpkgOwners(
        "diversion by dash from: /bin/sh\nxterm: /usr/share/applications/debian-xterm.desktop\n"
        "liba:amd64, liba:i386: /usr/share/a: b\n\nbroken line\n");
    QCOMPARE(owners, (std::map<QByteArray, QByteArray>{{"/usr/share/applications/debian-xterm.desktop", "xterm"},
                                                       {"/usr/share/a: b", "liba:amd64"}}));
    QCOMPARE(dpkgSizes("xterm\t2388\nempty\t\nliba:amd64\t0\nx"),
             (std::map<QByteArray, ByteCount>{{"xterm", 2388 * 1024}, {"liba:amd64", 0}}));
    const QByteArrayList files{"/a", "/b", "/c"};
    QCOMPARE(rpmOwners(files, "gimp\t104857600\nfile /b is not owned by any package\nbash\t7000000\n"),
             (std::map<QByteArray, OwningPackage>{{"/a", {"rpm:gimp", 104857600}}, {"/c", {"rpm:bash", 7000000}}}));
    QVERIFY(rpmOwners(files, {}).empty());
    QCOMPARE(flatpakInstalledSize(deployFile(123456789)), ByteCount(123456789));
    QVERIFY(!flatpakInstalledSize("nonsense"));
  }

  void flatpakAndSnapAreFoundByTheirFolders() {
    DiskTree tree;
    for (const char* folder : {"exports", "exports/share", "exports/share/applications", "app", "app/org.x.Draw",
                               "app/org.x.Draw/current", "app/org.x.Draw/current/active", "snapd", "snapd/desktop",
                               "snapd/desktop/applications", "snap", "snap/notes", "snap/notes/42", "snaps"})
      tree.addFolder(folder);
    write(tree.at("app/org.x.Draw/current/active/deploy"), deployFile(5000));
    tree.addFile("snaps/notes_42.snap", 777);
    QCOMPARE(::symlink("42", tree.at("snap/notes/current").constData()), 0);
    const QByteArray draw = tree.addFile("exports/share/applications/org.x.Draw.desktop", 1);
    const QByteArray second = tree.addFile("exports/share/applications/org.x.Draw.Viewer.desktop", 1);
    const QByteArray notes = tree.addFile("snapd/desktop/applications/notes_notes.desktop", 1);
    const QByteArray lost = tree.addFile("snapd/desktop/applications/lost_lost.desktop", 1);
    const PackageSizes sizes(tree.at("snap"), tree.at("snaps"));
    const OwningPackage flatpak{"flatpak:" + tree.path() + ":org.x.Draw", 5000};
    QCOMPARE(sizes.ownersOfFiles({draw, second, notes, lost}, {}),
             (std::map<QByteArray, OwningPackage>{{draw, flatpak}, {second, flatpak}, {notes, {"snap:notes", 777}}}));
  }

  void applicationFilesAreKnownByTheirContent() {
    DiskTree tree;
    const LinuxApplicationCatalog catalog;
    write(tree.at("Tool.AppImage"), QByteArray("\x7f"
                                               "ELF\x02\x01\x01\x00"
                                               "AI\x02",
                                               11));
    write(tree.at("fake.AppImage"), "text");
    write(tree.at("Tool.bin"), QByteArray("\x7f"
                                          "ELF\x02\x01\x01\x00"
                                          "AI\x02",
                                          11));
    QVERIFY(catalog.isApplicationFile(tree.at("Tool.AppImage")));
    QVERIFY(!catalog.isApplicationFile(tree.at("fake.AppImage")));
    QVERIFY(!catalog.isApplicationFile(tree.at("Tool.bin")));
    tree.addFolder("Draw.app");
    QCOMPARE(catalog.bundleIdentifier(tree.at("Draw.app")), QStringLiteral("Draw"));
    tree.addFile("Draw.app/org.x.Draw.desktop", 1);
    QCOMPARE(catalog.bundleIdentifier(tree.at("Draw.app")), QStringLiteral("org.x.Draw"));
    QVERIFY(!catalog.bundleIdentifier(tree.at("missing")));
  }

  void idlePriorityIsForTheThreadOnly() {
    constexpr int kIdleClass = 3;
    const auto diskClass = [] { return ::syscall(SYS_ioprio_get, 1, 0) >> 13; };
    std::jthread([&] {
      IdlePriority().lowerCurrentThread();
      QCOMPARE(::sched_getscheduler(0), SCHED_IDLE);
      QCOMPARE(diskClass(), kIdleClass);
    }).join();
    QCOMPARE(::sched_getscheduler(0), SCHED_OTHER);
    QVERIFY(diskClass() != kIdleClass);
  }
};

QTEST_GUILESS_MAIN(TestLinuxFiles)
#include "test_linux_files.moc"
