#pragma once

#include <vector>

#include "promo/ui/page_window.h"

namespace halvard {

/// A page window that only remembers; the test clicks and closes.
class FakePageWindow : public PageWindow {
 public:
  struct Record {
    std::vector<std::pair<std::optional<QUrl>, QSize>> loads;
    std::optional<QPoint> corner;
    int shows = 0;
    bool isOpen = false;
  };

  FakePageWindow(Record& record, FakePageWindow*& current) : m_record(record), m_current(current) { m_current = this; }
  ~FakePageWindow() override {
    if (m_current == this) m_current = nullptr;
  }

  void load(const std::optional<QUrl>& page, QSize size) override { m_record.loads.emplace_back(page, size); }
  void show(const std::optional<QPoint>& corner) override {
    m_record.corner = corner;
    ++m_record.shows;
    m_record.isOpen = true;
  }
  void close() override {
    if (!std::exchange(m_record.isOpen, false)) return;
    Q_EMIT closed();
  }

 private:
  Record& m_record;
  FakePageWindow*& m_current;
};

}  // namespace halvard
