#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QPair>

#include <functional>
#include <optional>

// What the fake backend server answers to one request. Setters chain:
//   server.on("POST", "/ask").chunk(line1).hold().chunk(line2, 5);
// A body set with body()/json() goes out with a Content-Length; chunk() switches the reply
// to chunked transfer coding, each chunk written after its delay, in order.
class FakeReply
{
public:
    struct Step
    {
        enum class Kind { write, hold, drop, generate };
        Kind kind;
        QByteArray bytes;
        int delayMs = 0;
        // generate: `count` pieces of `length` bytes in all, made one at a time.
        qint64 count = 0;
        qint64 length = 0;
        std::function<QByteArray(qint64 index)> piece = {};
    };
    using Piece = std::function<QByteArray(qint64 index)>;
    enum class Framing { length, chunked, silent };

    FakeReply &status(int code);
    FakeReply &header(const QByteArray &name, const QByteArray &value);
    // Replaces the body; `contentType` is sent when not empty.
    FakeReply &body(const QByteArray &bytes, const QByteArray &contentType = {});
    FakeReply &json(const QJsonObject &object);
    FakeReply &jsonArray(const QJsonArray &array);

    // Streaming: one chunk written `delayMs` after the previous step.
    FakeReply &chunk(const QByteArray &bytes, int delayMs = 0);
    // A chunk holding one line of newline-delimited JSON.
    FakeReply &line(const QJsonObject &event, int delayMs = 0);
    // Stops writing here until the server's release().
    FakeReply &hold();
    // Closes the connection here, without finishing the body.
    FakeReply &drop();
    // Announces `announcedLength` bytes of body, sends `sent` and closes the connection.
    FakeReply &truncated(const QByteArray &sent, qint64 announcedLength);
    // A body of `count` pieces made by `piece` only as the client takes them in, so a large
    // body is never held whole; `length` is their total size, announced as Content-Length.
    FakeReply &generated(qint64 count, Piece piece, qint64 length);
    // The same as chunks of a chunked body, after the chunks before; `count` may be endless.
    FakeReply &generatedChunks(qint64 count, Piece piece);
    // Reads the request and never answers.
    FakeReply &silent();

    int statusCode() const { return m_status; }
    const QList<QPair<QByteArray, QByteArray>> &headers() const { return m_headers; }
    Framing framing() const { return m_framing; }
    const QList<Step> &steps() const { return m_steps; }
    // The Content-Length a length-framed reply announces.
    qint64 contentLength() const;

private:
    void useChunks();

    int m_status = 200;
    QList<QPair<QByteArray, QByteArray>> m_headers;
    Framing m_framing = Framing::length;
    QList<Step> m_steps;
    std::optional<qint64> m_announcedLength;
};
