#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

// An error whose description is the exact text the user sees ("D" in log lines and
// HUD messages). Asynchronous operations throw it; callers show description().
class DescribedError : public std::exception
{
public:
    explicit DescribedError(QString description);

    const QString &description() const { return m_description; }
    const char *what() const noexcept override { return m_utf8.constData(); }

    // The user-facing description of any caught exception.
    static QString describe(const std::exception_ptr &error);

private:
    QString m_description;
    QByteArray m_utf8;
};
