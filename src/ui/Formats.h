#pragma once

#include <QDateTime>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// How the pages write dates and durations: in English, whatever the system locale, so
// that the texts read the same as every other text of the window.
class Formats : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    explicit Formats(QObject *parent = nullptr) : QObject(parent) {}

    // "Mar 5, 2026 at 14:30" in local time; empty for an invalid date.
    Q_INVOKABLE static QString dueDate(const QDateTime &date);
    // "Mar 5, 2026"; empty for an invalid date.
    Q_INVOKABLE static QString day(const QDateTime &date);
    // "0:07", "12:45", "1:02:03".
    Q_INVOKABLE static QString duration(double seconds);
};
