// Draws the disk-usage section in its states into a folder of pictures, to be looked at.
#include <QApplication>
#include <QDir>
#include <QTest>

#include "files_searcher/ui/disk_usage_fixture.h"

using namespace halvard;

namespace {

void save(DiskUsage& usage, const QString& name) {
  QTest::qWait(600);
  usage.section->view()->grab().save(QStringLiteral("%1@%2x.png").arg(name).arg(qApp->devicePixelRatio()));
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc > 1) QDir::setCurrent(QString::fromLocal8Bit(argv[1]));
  DiskUsage usage;
  usage.workspace.installed << QStringLiteral("org.gnome.baobab");
  usage.start();
  save(usage, QStringLiteral("asks-compact"));
  usage.section->changeToCompactMode(false, false);
  save(usage, QStringLiteral("asks-detailed"));
  usage.grants.readable = {"/"};
  usage.access.saveAccessToDisk();
  usage.section->changeToCompactMode(false, false);
  usage.section->completionChangeToCompactMode(false);
  usage.queries.progressNow = 0.42;
  usage.answerAll(false);
  save(usage, QStringLiteral("scanning"));
  usage.queries.answer(2, {{"/a", 900 << 20}, {"/b", 900 << 20}});
  save(usage, QStringLiteral("done"));
  usage.section->detailsButtonPressed();
  save(usage, QStringLiteral("junk"));
  usage.section->backButtonPressed();
  save(usage, QStringLiteral("back"));
  usage.defaults.saveUnsignedLongLongValue(3, QStringLiteral("LastViewedSearchResults"));
  usage.section->detailsButtonPressed();
  save(usage, QStringLiteral("large"));
  usage.section->changeToCompactMode(true, false);
  usage.section->completionChangeToCompactMode(true);
  save(usage, QStringLiteral("done-compact"));
  return 0;
}
