// What a change of the status picture costs: it is drawn in the seven sizes that a StatusNotifierItem offers.
#include <benchmark/benchmark.h>
#include <QGuiApplication>

#include "widgets/status_image.h"

namespace {

void statusPictureInAllSizes(benchmark::State& state, const QString& title) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  int argumentCount = 1;
  char name[] = "halvard_bench";
  char* arguments[] = {name, nullptr};
  const QGuiApplication application(argumentCount, arguments);  // fonts need one
  for (auto _ : state) {
    for (const int size : {16, 22, 24, 32, 44, 48, 64}) {
      benchmark::DoNotOptimize(halvard::statusImage(QStringLiteral("icon_memory_62"), title, size));
    }
  }
}

BENCHMARK_CAPTURE(statusPictureInAllSizes, gauge, QString())->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(statusPictureInAllSizes, badge, QStringLiteral(" 62% "))->Unit(benchmark::kMicrosecond);

}  // namespace
