#pragma once

#include <QByteArrayList>
#include <QVariantMap>

namespace RecordRoles {

// The roles of a list of Record: the keys of its toVariant(), which names every field
// even when the value is absent, so an empty record lists them all.
template <class Record> QByteArrayList of()
{
    QByteArrayList roles;
    const QVariantMap fields = Record{}.toVariant();
    for (auto it = fields.keyBegin(); it != fields.keyEnd(); ++it)
        roles.append(it->toUtf8());
    return roles;
}

} // namespace RecordRoles
