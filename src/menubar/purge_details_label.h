#pragma once

#include <QLabel>

#include "menubar/purge_details.h"

namespace halvard {

class HintWindow;

/// The small line about the last purge; the whole ledger under the mouse. Text that does not fit ends in dots.
class PurgeDetailsLabel : public QLabel {
  Q_OBJECT

 public:
  /// `hint` outlives the label.
  explicit PurgeDetailsLabel(HintWindow& hint, QWidget* parent = nullptr);

  void setDetails(const PurgeDetails& details);
  /// `shortened`: the short line, at the right edge; else the long one in the middle.
  void place(const QRect& frame, bool shortened);

 protected:
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void showLine();

  HintWindow& m_hint;
  PurgeDetails m_details;
  bool m_isShortened = false;
};

}  // namespace halvard
