// SPDX-License-Identifier: GPL-2.0-or-later
#include <tests/qml/standin_rows.h>

namespace tfs::tests {
namespace {

constexpr int FirstRole = Qt::UserRole + 1;

} // namespace

int StandinRows::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : m_rows.size(); }

QHash<int, QByteArray> StandinRows::roleNames() const {
    QHash<int, QByteArray> names;
    int role = FirstRole;
    for (auto it = m_defaults.begin(); it != m_defaults.end(); ++it)
        names[role++] = it.key().toUtf8();
    return names;
}

QVariant StandinRows::data(const QModelIndex& index, int role) const {
    const QString name = QString::fromUtf8(roleNames().value(role));
    return m_rows.at(index.row()).value(name, m_defaults.value(name));
}

void StandinRows::setRows(const QVariantList& rows) {
    beginResetModel();
    m_rows.clear();
    for (const QVariant& row : rows)
        m_rows.append(row.toMap());
    endResetModel();
}

void StandinRows::changeRow(int row, const QVariantMap& values) {
    for (auto it = values.begin(); it != values.end(); ++it)
        m_rows[row][it.key()] = it.value();
    Q_EMIT dataChanged(index(row), index(row));
}

void StandinRows::addRow(int row, const QVariantMap& values) {
    beginInsertRows({}, row, row);
    m_rows.insert(row, values);
    endInsertRows();
}

void StandinRows::dropRow(int row) {
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

void StandinRows::Note(const QString& call) {
    m_calls.append(call);
    Q_EMIT callsChanged();
}

} // namespace tfs::tests
