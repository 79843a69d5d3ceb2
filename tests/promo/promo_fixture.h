#pragma once

#include "core/notification_center.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_http_fetcher.h"
#include "platform/fake/fake_user_notification_center.h"
#include "platform/fake/fake_workspace.h"
#include "platform/ports/zip_unpacker.h"
#include "promo/promo_manager.h"
#include "support/test_folder.h"
#include "support/texts.h"

namespace halvard {

struct NoUnpacker : ZipUnpacker {
  Result<void> unzipFileAtPath(const QString&, const QString&, const UnpackLimits&, std::stop_token) override {
    return Error{text("no")};
  }
};

/// A user's machine on which nothing is real but a folder for application support.
struct PromoFixture {
  FakeDefaultsStore store;
  FakeClock clock;
  ShowcaseDefaults defaults{store, clock, text("4.2.1")};
  FakeHttpFetcher fetcher;
  NoUnpacker unpacker;
  FakeWorkspace workspace;
  FakeUserNotificationCenter userNotifications;
  NotificationCenter notifications;
  Branding branding;
  TestFolder support;

  void giveAddresses() {
    branding.storePage = QUrl(text("https://store.example/halvard"));
    branding.supportAddress = text("help@a.example");
  }

  std::unique_ptr<PromoManager> manager() {
    return std::make_unique<PromoManager>(
        PromoManagerServices{defaults, fetcher, unpacker, workspace, userNotifications, notifications, branding,
                             support.path()},
        PromoSettings::LoadHalvardData(branding, store),
        ApplicationFacts{.name = text("Halvard"),
                         .displayName = {},
                         .version = text("4.2.1"),
                         .buildVersion = {},
                         .systemVersion = text("Test 9")});
  }
};

}  // namespace halvard
