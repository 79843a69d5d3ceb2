#pragma once

#include <QLineEdit>

namespace halvard {

/// A line of text that the user edits, in the look of the other controls. `editingFinished` is the user alone.
class TextField : public QLineEdit {
 public:
  explicit TextField(QWidget* parent = nullptr);
  QSize sizeHint() const override;
};

}  // namespace halvard
