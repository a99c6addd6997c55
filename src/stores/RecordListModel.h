#pragma once

#include <QAbstractListModel>
#include <QByteArrayList>
#include <QVariantMap>

// The rows of a store's list for views: one role per record field, named as in the
// record's toVariant(). The store replaces all rows whenever its list changes.
class RecordListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    explicit RecordListModel(QByteArrayList roles, QObject *parent = nullptr);

    void setRows(QList<QVariantMap> rows);
    template <class Records> void setRecords(const Records &records)
    {
        QList<QVariantMap> rows;
        rows.reserve(records.size());
        for (const auto &record : records)
            rows.append(record.toVariant());
        setRows(std::move(rows));
    }

    int count() const { return int(m_rows.size()); }
    Q_INVOKABLE QVariantMap get(int row) const { return m_rows.value(row); }

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void countChanged();

private:
    QByteArrayList m_roles;
    QList<QVariantMap> m_rows;
};
