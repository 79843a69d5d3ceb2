#pragma once

#include "login/run_at_login_manager.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"
#include "preferences/preferences_model.h"
#include "preferences/showcase_defaults.h"

namespace halvard::test {

struct ChangeListener : PreferenceItemListener {
  void preferenceItemDidChangeValue(PreferenceItemBase& item) override { changed << item.key(); }
  void preferenceItemDidRejectValue(PreferenceItemBase&) override {}
  QStringList changed;
};

/// Preferences and start at login on a desktop of its own.
struct LoginDesk {
  FakeDefaultsStore store;
  FakeClock clock;
  FakeLoginItemService loginItems;
  FakeDistributedNotificationCenter distributed;
  const QString bundleIdentifier = QStringLiteral("com.example.Main");
  const QString program = QStringLiteral("/opt/main/main");
  HalvardRunAtLoginManager startAtLogin{loginItems, distributed, bundleIdentifier, program};
  PreferencesModel model{store, startAtLogin};
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
};

}  // namespace halvard::test
