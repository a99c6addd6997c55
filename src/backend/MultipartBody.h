#pragma once

#include <QByteArray>
#include <QString>

// A multipart/form-data body with a fresh "Boundary-<UUID>" boundary, built part by
// part in the order the protocol fixes. finish() writes the closing delimiter.
class MultipartBody
{
public:
    MultipartBody();
    // For tests and benchmarks that need a known boundary.
    explicit MultipartBody(QString boundary);

    const QString &boundary() const { return m_boundary; }
    // "multipart/form-data; boundary=<boundary>"
    QByteArray contentType() const;

    // Room for `bytes` more, so large files are copied once.
    void reserve(qsizetype bytes);
    void addFile(const QString &name, const QString &filename, const QByteArray &contentType,
                 const QByteArray &bytes);
    void addField(const QString &name, const QString &value);
    QByteArray finish();

private:
    void openPart(const QString &disposition);

    QString m_boundary;
    QByteArray m_delimiter;
    QByteArray m_body;
};
