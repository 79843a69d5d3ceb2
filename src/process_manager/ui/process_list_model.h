#pragma once

#include <QAbstractListModel>

#include "process_manager/application_entry.h"

namespace halvard {

/// The rows of the application list, in the order of the latest list. Views are told only of rows whose shown content
/// differs.
class ProcessListModel : public QAbstractListModel {
  Q_OBJECT

 public:
  enum Role {
    /// QString: a themed icon's name or an image's path; empty when there is none.
    IconNameRole = Qt::UserRole,
    /// QString: the memory, empty when it is not known.
    SizeRole,
  };

  using QAbstractListModel::QAbstractListModel;

  /// Null is an empty list.
  void setApplications(ApplicationList applications);
  /// Null for a row outside the list.
  const ApplicationEntry* entryAt(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  struct Row {
    QString name;
    QString icon;
    QString size;
    bool operator==(const Row&) const = default;
  };
  static Row rowFor(const ApplicationEntry& entry);

  ApplicationList m_arrayGreedyApps;
  std::vector<Row> m_rows;
};

}  // namespace halvard
