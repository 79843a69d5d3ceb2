#include "process_manager/ui/process_list_model.h"

#include "core/size_format.h"

namespace halvard {

ProcessListModel::Row ProcessListModel::rowFor(const ApplicationEntry& entry) {
  const QString size = entry.size ? size_format::stringFromSize(static_cast<std::int64_t>(*entry.size)) : QString();
  return {entry.name.value_or(tr("Unknown")), entry.icon.value_or(QString()), size};
}

void ProcessListModel::setApplications(ApplicationList applications) {
  std::vector<Row> rows;
  if (applications) {
    rows.reserve(applications->size());
    for (const ApplicationEntry& entry : *applications)
      rows.push_back(rowFor(entry));
  }
  const bool isReset = rows.size() != m_rows.size();
  if (isReset) beginResetModel();
  m_arrayGreedyApps = std::move(applications);
  std::swap(m_rows, rows);
  if (isReset) {
    endResetModel();
    return;
  }
  for (std::size_t row = 0; row < m_rows.size(); ++row) {
    if (m_rows[row] == rows[row]) continue;
    const QModelIndex changed = index(static_cast<int>(row));
    Q_EMIT dataChanged(changed, changed);
  }
}

const ApplicationEntry* ProcessListModel::entryAt(int row) const {
  if (!m_arrayGreedyApps || row < 0 || static_cast<std::size_t>(row) >= m_arrayGreedyApps->size()) return nullptr;
  return &m_arrayGreedyApps->at(static_cast<std::size_t>(row));
}

int ProcessListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ProcessListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || static_cast<std::size_t>(index.row()) >= m_rows.size()) return {};
  const Row& row = m_rows[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
      return row.name;
    case Qt::AccessibleTextRole:
      return row.size.isEmpty() ? row.name : QStringLiteral("%1, %2").arg(row.name, row.size);
    case IconNameRole:
      return row.icon;
    case SizeRole:
      return row.size;
    default:
      return {};
  }
}

}  // namespace halvard
