#pragma once

#include "app/CaptureSessionController.h"
#include "backend/Backend.h"
#include "core/CancellationToken.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// Ask AI and Read screen once the key is up: the spoken question, the answer streamed into
// the card and copied, the apps it opens. Failures are thrown to the session, which reports
// them; a session cancelled meanwhile (or a controller gone) ends it quietly.
class AnswerFlow : public QObject
{
    Q_OBJECT
public:
    using ScreenshotTask = QCoro::Task<std::optional<QByteArray>>;
    // What it does to the session around it.
    struct Session
    {
        std::function<void()> endIdle;
        std::function<void(const QString &)> setStatus;
        std::function<void(const QString &)> privacyHelp;
    };

    AnswerFlow(CaptureServices services, Session session, QObject *parent = nullptr);

    QCoro::Task<void> ask(QByteArray wav, QString askContext, CancellationToken token);
    QCoro::Task<void> screen(QByteArray wav, std::optional<ScreenshotTask> screenshot,
                             CancellationToken token);

private:
    static bool isGone(const QObject *self, const CancellationToken &token)
    {
        return !self || token.isCancelled();
    }
    Backend::DeltaHandler deltaHandler(const CancellationToken &token);
    Backend::ActionHandler actionHandler(const CancellationToken &token);
    void finish(const QString &answer);

    CaptureServices m_services;
    Session m_session;
};
