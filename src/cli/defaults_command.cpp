#include "cli/defaults_command.h"

#include "platform/ports/defaults_store.h"
#include "preferences/defaults_text.h"
#include "preferences/known_keys.h"

namespace halvard {
namespace {

const QString kUsage = QStringLiteral(
    "usage: defaults read [KEY] | write KEY (-bool|-int|-float|-string|-date) VALUE | delete KEY | keys");

int failUnknownKey(const QString& key, const CommandOutput& output) {
  const QString nearest = stored_keys::nearest(key);
  const QString hint = nearest.isEmpty() ? QStringLiteral("'defaults keys' lists the keys")
                                         : QStringLiteral("did you mean '%1'?").arg(nearest);
  return output.fail(QStringLiteral("unknown key '%1': %2").arg(key, hint), kExitUsage);
}

int finishWriting(DefaultsStore& store, const CommandOutput& output) {
  if (store.synchronize()) return kExitSuccess;
  return output.fail(QStringLiteral("the settings could not be written"), kExitFailure);
}

int readAll(DefaultsStore& store, const CommandOutput& output) {
  for (const QString& key : store.keys()) {
    if (const auto stored = store.objectForKey(key)) {
      output.print(QStringLiteral("%1 %2 %3").arg(key, kindWord(*stored), storedValueText(*stored)));
    }
  }
  return kExitSuccess;
}

int readOne(const QString& key, DefaultsStore& store, const CommandOutput& output) {
  if (const auto stored = store.objectForKey(key)) {
    output.print(storedValueText(*stored));
    return kExitSuccess;
  }
  if (!stored_keys::isKnown(key)) return failUnknownKey(key, output);
  return output.fail(QStringLiteral("'%1' is not set; the program uses its default").arg(key), kExitFailure);
}

int write(const QStringList& words, DefaultsStore& store, const CommandOutput& output) {
  if (!stored_keys::isKnown(words[0])) return failUnknownKey(words[0], output);
  Result<StoredValue> value = parseStoredValue(words[1], words[2]);
  if (!value) return output.fail(value.error().message, kExitUsage);
  store.setObject(words[0], std::move(value).value());
  return finishWriting(store, output);
}

int remove(const QString& key, DefaultsStore& store, const CommandOutput& output) {
  // A key that an older program left behind may go too.
  if (!stored_keys::isKnown(key) && !store.objectForKey(key)) return failUnknownKey(key, output);
  store.removeObject(key);
  return finishWriting(store, output);
}

}  // namespace

int runDefaultsCommand(const QStringList& arguments, DefaultsStore& store, const CommandOutput& output) {
  const QString verb = arguments.value(0);
  const QStringList words = arguments.mid(1);
  if (verb == QStringLiteral("read") && words.isEmpty()) return readAll(store, output);
  if (verb == QStringLiteral("read") && words.size() == 1) return readOne(words[0], store, output);
  if (verb == QStringLiteral("write") && words.size() == 3) return write(words, store, output);
  if (verb == QStringLiteral("delete") && words.size() == 1) return remove(words[0], store, output);
  if (verb == QStringLiteral("keys") && words.isEmpty()) {
    for (const QString& key : stored_keys::all())
      output.print(key);
    return kExitSuccess;
  }
  return output.fail(kUsage, kExitUsage);
}

}  // namespace halvard
