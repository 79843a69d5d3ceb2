#pragma once

#include <QLabel>
#include <QWidget>
#include <optional>
#include <vector>

#include "branding/sibling_app.h"
#include "core/units.h"
#include "files_searcher/disk_info.h"
#include "files_searcher/sibling_tools.h"
#include "widgets/clean_memory_button.h"
#include "widgets/icon_button.h"

namespace halvard {

/// The page of one figure: what it consists of, and the tool that deals with it.
class AdBasedOnSpotlightView : public QWidget {
  Q_OBJECT

 public:
  virtual SiblingApp getType() const = 0;
  /// There is something to show.
  virtual bool isCanShow() const = 0;
  /// The figure, in bytes; 0 without one.
  virtual ByteCount size() const = 0;
  /// Forgets what was found.
  virtual void clearInfo() = 0;

  /// Names the tool on the button, shows its icon and says what it does.
  void prepareForAppearance();

  CleanMemoryButton* getAppButton() const { return m_appButton; }

 Q_SIGNALS:
  void backPressed();

 protected:
  AdBasedOnSpotlightView(const QString& title, const QColor& mark, SiblingTools& tools, QWidget* parent);
  /// One more line of name and value, from top to bottom; returns the value's label.
  QLabel* addLine(const QString& name);
  QLabel* totalLabel() const { return m_total; }
  void paintEvent(QPaintEvent* event) override;

 private:
  void getAppPressed();

  SiblingTools& m_tools;
  const QColor m_mark;
  IconButton* m_back;
  QLabel* m_title;
  QLabel* m_total;
  QLabel* m_icon;
  CleanMemoryButton* m_appButton;
  int m_lines = 0;
};

class JunkFilesView : public AdBasedOnSpotlightView {
  Q_OBJECT

 public:
  JunkFilesView(SiblingTools& tools, QWidget* parent);
  void setInfo(const JunkFilesViewInfo& info);
  SiblingApp getType() const override { return SiblingApp::JunkCleaner; }
  bool isCanShow() const override { return m_pInfo.has_value(); }
  ByteCount size() const override { return m_pInfo ? m_pInfo->total() : 0; }
  void clearInfo() override { m_pInfo.reset(); }

 private:
  std::optional<JunkFilesViewInfo> m_pInfo;
  QLabel* m_clearDiskCacheFilesLabel;
  QLabel* m_clearDiskDownloadsLabel;
  QLabel* m_clearDiskTrashLabel;
};

/// A figure that is a number of files and their size.
template <class Info, SiblingApp Type>
class CountedView : public AdBasedOnSpotlightView {
 public:
  CountedView(const QString& title, const QString& countName, const QColor& mark, SiblingTools& tools, QWidget* parent)
      : AdBasedOnSpotlightView(title, mark, tools, parent),
        m_countLabel(addLine(countName)),
        m_sizeLabel(addLine(tr("Size"))) {}
  void setInfo(const Info& info) {
    m_pInfo = info;
    showCounted(info.size, info.count, totalLabel(), m_countLabel, m_sizeLabel);
  }
  SiblingApp getType() const override { return Type; }
  bool isCanShow() const override { return m_pInfo.has_value(); }
  ByteCount size() const override { return m_pInfo ? m_pInfo->size : 0; }
  void clearInfo() override { m_pInfo.reset(); }

 private:
  static void showCounted(ByteCount size, std::uint64_t count, QLabel* total, QLabel* countLabel, QLabel* sizeLabel);

  std::optional<Info> m_pInfo;
  QLabel* m_countLabel;
  QLabel* m_sizeLabel;
};

using ApplicationsUnusedView = CountedView<ApplicationsUnusedViewInfo, SiblingApp::Uninstaller>;
using LargeAndOldFilesView = CountedView<LargeAndOldFilesViewInfo, SiblingApp::DiskAnalyzer>;
using DuplicateFilesView = CountedView<DuplicateFilesViewInfo, SiblingApp::DuplicatesTool>;

}  // namespace halvard
