#include "stores/RecordListModel.h"

RecordListModel::RecordListModel(QByteArrayList roles, QObject *parent)
    : QAbstractListModel(parent), m_roles(std::move(roles))
{}

void RecordListModel::setRows(QList<QVariantMap> rows)
{
    const bool countChanges = rows.size() != m_rows.size();
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
    if (countChanges)
        Q_EMIT countChanged();
}

int RecordListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant RecordListModel::data(const QModelIndex &index, int role) const
{
    const int field = role - Qt::UserRole;
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || field < 0 || field >= m_roles.size())
        return {};
    return m_rows[index.row()].value(QString::fromLatin1(m_roles[field]));
}

QHash<int, QByteArray> RecordListModel::roleNames() const
{
    QHash<int, QByteArray> names;
    for (int i = 0; i < m_roles.size(); ++i)
        names.insert(Qt::UserRole + i, m_roles[i]);
    return names;
}
