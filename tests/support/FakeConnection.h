#pragma once

#include "FakeReply.h"
#include "FakeRequest.h"

#include <QByteArray>
#include <QList>
#include <QObject>

#include <functional>
#include <optional>

class QTcpSocket;

// One accepted connection of the fake backend server: parses HTTP/1.1 requests as their
// bytes arrive (partial reads, keep-alive, pipelining) and plays each scripted reply in
// request order.
class FakeConnection : public QObject
{
    Q_OBJECT
public:
    // `dispatch` records a complete request and returns the reply to play.
    using Dispatch = std::function<FakeReply(const FakeRequest &)>;

    FakeConnection(QTcpSocket *socket, Dispatch dispatch, QObject *parent = nullptr);

    bool isHeld() const { return m_held; }
    void release();

Q_SIGNALS:
    void held();

private:
    enum class Input { head, lengthBody, closed };
    struct Queued
    {
        FakeReply reply;
        bool close;
    };

    void readInput();
    void parseInput();
    bool parseHead(QByteArrayView head);
    void complete();
    void fail(const char *why);
    void playNext();
    void advance();
    // Writes generated pieces until the socket holds enough; true once all are written.
    bool generate(const FakeReply::Step &step, bool chunked);
    void writeBody(const QByteArray &bytes, bool chunked);

    QTcpSocket *m_socket;
    Dispatch m_dispatch;
    QByteArray m_in;
    Input m_input = Input::head;
    FakeRequest m_request;
    qint64 m_remaining = 0;
    bool m_closeAfter = false;
    bool m_reading = false;

    QList<Queued> m_queue;
    std::optional<Queued> m_playing;
    qsizetype m_step = 0;
    bool m_delayed = false;
    bool m_held = false;
    qint64 m_piece = 0;
    bool m_draining = false;
};
