// Whose memory is paged out in a real session: three programs with windows, a real focus, real zram. Runs inside
// tests/desktop/session.
#include <QGuiApplication>
#include <QRasterWindow>
#include <QtTest>
#include <csignal>
#include <vector>

#include "platform/linux/reclaim/page_out_strategy.h"
#include "platform/linux/x11/x11_windows.h"
#include "support/idle_process.h"
#include "support/process_files.h"
#include "support/texts.h"
#include "support/zram_swap.h"

using namespace halvard;
using namespace halvard::test;

namespace {

constexpr ByteCount kMiB = ByteCount{1} << 20;
constexpr ByteCount kHeld = 64 * kMiB;
constexpr int kPatience = 30'000;
const QString kWindow = text("--window");

/// A program with a window and some memory.
int showWindow() {
  std::vector<unsigned> memory(kHeld / sizeof(unsigned));
  fillLikeText(memory.data(), memory.size());
  QRasterWindow window;
  window.resize(200, 100);
  window.show();
  return QCoreApplication::exec() + static_cast<int>(memory.back() & 0U);
}

/// Such a program in a process of its own, under a name of its own, and no descendant of this one.
class Program {
 public:
  Program(const QTemporaryDir& folder, const char* name) {
    QProcess program;
    program.setProgram(folder.filePath(text(name)));
    program.setArguments({kWindow});
    if (QFile::link(QCoreApplication::applicationFilePath(), program.program())) program.startDetached(&m_pid);
  }
  ~Program() {
    if (m_pid > 0) ::kill(static_cast<pid_t>(m_pid), SIGKILL);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  std::int32_t pid() const { return static_cast<std::int32_t>(m_pid); }
  ByteCount residentBytes() const { return processBytes(m_pid, "RssAnon:"); }
  ByteCount swappedBytes() const { return processBytes(m_pid, "VmSwap:"); }

 private:
  qint64 m_pid = 0;
};

/// What the session's source reads, without the programs of others: the test is not to page out who happens to run.
struct OwnPrograms : LinuxVictimSource {
  using LinuxVictimSource::LinuxVictimSource;
  Reading read() override {
    Reading reading = LinuxVictimSource::read();
    std::erase_if(reading.candidates, [this](const ReclaimCandidate& candidate) {
      return std::ranges::find(pids, candidate.pid) == pids.end();
    });
    return reading;
  }
  std::vector<std::int32_t> pids;
};

}  // namespace

class TestReclaimSession : public QObject {
  Q_OBJECT

 private:
  X11Windows m_windows;

  bool isFocused(const Program& program) { return m_windows.attention().focused == program.pid(); }

 private Q_SLOTS:
  void theFocusedAndTheExcludedProgramStayResidentAndTheOtherIsPagedOut() {
    if (qEnvironmentVariableIsEmpty("HALVARD_SESSION_TRAY")) QSKIP("needs the session of tests/desktop/session");
    ZramSwap swap;
    const QString reason = swap.start(512 * kMiB);
    if (!reason.isEmpty()) QSKIP(qPrintable(reason));
    const QTemporaryDir folder;
    const Program viewer(folder, "viewer");
    const Program keeper(folder, "keeper");
    const Program editor(folder, "editor");
    for (const Program* program : {&viewer, &keeper, &editor}) {
      QTRY_VERIFY_WITH_TIMEOUT(program->residentBytes() > kHeld, kPatience);
      QTRY_VERIFY_WITH_TIMEOUT(m_windows.activate(std::vector{program->pid()}), kPatience);
    }
    SystemClock clock;
    ProcfsGuardReadings readings(clock);
    OwnPrograms victims(clock, [] { return QStringList{text("keeper")}; });
    victims.pids = {viewer.pid(), keeper.pid(), editor.pid()};
    PageOutStrategy strategy(victims, readings, clock, HALVARD_BIN_DIR "/halvard-pageout-worker");
    // More than once, if need be: a program that has just drawn its window is at work.
    const auto pageOut = [&](const Program& program) {
      for (int round = 0; round < 20 && program.residentBytes() > kHeld / 8; ++round) {
        auto session = strategy.open();
        for (int step = 0; session && step < 30; ++step)
          session.value()->makeData(10 * kMiB)->beginContentAccess();
        if (!session) return session.error().message;
      }
      return program.residentBytes() <= kHeld / 8 ? QString() : QString::number(program.residentBytes());
    };

    QTRY_VERIFY_WITH_TIMEOUT(isFocused(editor), kPatience);
    const ByteCount editorBefore = editor.residentBytes();
    const ByteCount keeperBefore = keeper.residentBytes();
    QCOMPARE(pageOut(viewer), QString());
    QVERIFY(isFocused(editor));
    // They live, and may have taken a page meanwhile.
    for (const auto& [spared, before] : {std::pair(&editor, editorBefore), {&keeper, keeperBefore}}) {
      QCOMPARE(spared->swappedBytes(), 0u);
      QVERIFY(spared->residentBytes() >= before && spared->residentBytes() < before + kMiB);
    }

    // It was the focus that spared it, and the name that spares the other one still.
    QVERIFY(m_windows.activate(std::vector{viewer.pid()}));
    QTRY_VERIFY_WITH_TIMEOUT(isFocused(viewer), kPatience);
    QCOMPARE(pageOut(editor), QString());
    QVERIFY(keeper.residentBytes() >= keeperBefore);
  }
};

int main(int argc, char** argv) {
  const QGuiApplication application(argc, argv);
  if (QCoreApplication::arguments().contains(kWindow)) return showWindow();
  TestReclaimSession test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_reclaim_session.moc"
