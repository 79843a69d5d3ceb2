#include "platform/linux/reclaim/strategic_purgeable_memory.h"

#include <QStringList>
#include <utility>

namespace halvard {
namespace {

QString joined(const QString& explanation, QStringList obstacles) {
  obstacles.removeDuplicates();
  if (!explanation.isEmpty()) obstacles.prepend(explanation);
  return obstacles.join(QStringLiteral("; "));
}

/// A session that also tells why it is not a better one.
class ExplainedSession : public PurgeableSession {
 public:
  ExplainedSession(std::unique_ptr<PurgeableSession> session, QStringList obstacles)
      : m_session(std::move(session)), m_obstacles(std::move(obstacles)) {}

  std::unique_ptr<PurgeableData> makeData(ByteCount size) override { return m_session->makeData(size); }
  bool isAlive() const override { return m_session->isAlive(); }
  ReclaimOutcome outcome() const override {
    ReclaimOutcome outcome = m_session->outcome();
    outcome.explanation = joined(outcome.explanation, m_obstacles);
    return outcome;
  }

 private:
  std::unique_ptr<PurgeableSession> m_session;
  QStringList m_obstacles;
};

/// A session of no strategy: not alive, so that the purge ends at once.
class NoSession : public PurgeableSession {
 public:
  std::unique_ptr<PurgeableData> makeData(ByteCount) override { return std::make_unique<NoData>(); }
  bool isAlive() const override { return false; }

 private:
  class NoData : public PurgeableData {
    void beginContentAccess() override {}
    void overwriteWithZeros() override {}
    void endContentAccess() override {}
    void discardContentIfPossible() override {}
  };
};

}  // namespace

StrategicPurgeableMemory::StrategicPurgeableMemory(Strategies strategies) : m_strategies(std::move(strategies)) {}

std::unique_ptr<PurgeableSession> StrategicPurgeableMemory::openSession() {
  QStringList obstacles;
  for (ReclaimStrategy& strategy : m_strategies) {
    auto session = strategy.open();
    if (session) return std::make_unique<ExplainedSession>(std::move(session).value(), obstacles);
    obstacles << session.error().message;
  }
  return std::make_unique<ExplainedSession>(std::make_unique<NoSession>(), obstacles);
}

ReclaimForecast StrategicPurgeableMemory::forecast() {
  QStringList obstacles;
  ReclaimForecast forecast;
  for (ReclaimStrategy& strategy : m_strategies) {
    auto result = strategy.forecast();
    if (result) {
      forecast = std::move(result).value();
      break;
    }
    obstacles << result.error().message;
  }
  forecast.explanation = joined(forecast.explanation, obstacles);
  return forecast;
}

}  // namespace halvard
