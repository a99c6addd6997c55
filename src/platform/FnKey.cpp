#include "platform/FnKey.h"

#include "core/ProcessWide.h"

#include <QHash>

FnKey &FnKey::shared()
{
    return processWide<FnKey>([] { return new FnKey; });
}

FnKey::FnKey() : m_key(choices().first()) {}

QStringList FnKey::choices()
{
    return {QStringLiteral("Control_R"), QStringLiteral("Alt_R"), QStringLiteral("Super_R"),
            QStringLiteral("Menu")};
}

QString FnKey::labelOf(const QString &keysym)
{
    static const QHash<QString, QString> labels{
        {QStringLiteral("Control_R"), QStringLiteral("Right Ctrl")},
        {QStringLiteral("Alt_R"), QStringLiteral("Right Alt")},
        {QStringLiteral("Super_R"), QStringLiteral("Right Super")},
        {QStringLiteral("Menu"), QStringLiteral("Menu")},
    };
    return labels.value(keysym, keysym);
}

void FnKey::setKey(const QString &keysym)
{
    if (keysym == m_key || !choices().contains(keysym))
        return;
    m_key = keysym;
    Q_EMIT keyChanged();
}
