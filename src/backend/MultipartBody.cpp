#include "backend/MultipartBody.h"

#include <QUuid>

namespace {
constexpr char crlf[] = "\r\n";
}

MultipartBody::MultipartBody()
    : MultipartBody(QStringLiteral("Boundary-") +
                    QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper())
{}

MultipartBody::MultipartBody(QString boundary)
    : m_boundary(std::move(boundary)), m_delimiter("--" + m_boundary.toUtf8())
{}

QByteArray MultipartBody::contentType() const
{
    return "multipart/form-data; boundary=" + m_boundary.toUtf8();
}

void MultipartBody::reserve(qsizetype bytes)
{
    m_body.reserve(m_body.size() + bytes + 512);
}

void MultipartBody::openPart(const QString &disposition)
{
    m_body.append(m_delimiter).append(crlf);
    m_body.append(disposition.toUtf8()).append(crlf);
}

void MultipartBody::addFile(const QString &name, const QString &filename,
                            const QByteArray &contentType, const QByteArray &bytes)
{
    openPart(QStringLiteral("Content-Disposition: form-data; name=\"%1\"; filename=\"%2\"")
                 .arg(name, filename));
    m_body.append("Content-Type: ").append(contentType).append(crlf).append(crlf);
    m_body.append(bytes).append(crlf);
}

void MultipartBody::addField(const QString &name, const QString &value)
{
    openPart(QStringLiteral("Content-Disposition: form-data; name=\"%1\"").arg(name));
    m_body.append(crlf).append(value.toUtf8()).append(crlf);
}

QByteArray MultipartBody::finish()
{
    m_body.append(m_delimiter).append("--").append(crlf);
    return std::move(m_body);
}
