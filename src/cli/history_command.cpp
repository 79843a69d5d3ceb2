#include "cli/history_command.h"

#include <QJsonDocument>

#include "cli/cleaning_text.h"
#include "cli/list_options.h"
#include "memory/purge_history.h"

namespace halvard {

int runHistoryCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output) {
  const std::optional<ListOptions> options = parseListOptions(arguments);
  if (!options) return output.fail(QStringLiteral("usage: history [-n N] [--json]"), kExitUsage);
  QJsonArray records = PurgeHistory(store).records();
  while (options->count && records.size() > *options->count)
    records.removeFirst();
  output.print(options->json ? QString::fromUtf8(QJsonDocument(records).toJson()).trimmed()
                             : cleaning_text::history(records));
  return kExitSuccess;
}

}  // namespace halvard
