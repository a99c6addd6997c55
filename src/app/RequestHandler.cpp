#include "app/RequestHandler.h"

#include "app/CaptureSessionController.h"
#include "app/LaunchRequest.h"
#include "app/SignInCallback.h"
#include "core/DescribedError.h"
#include "state/AppModel.h"
#include "stores/AuthStore.h"
#include "ui/MainWindowState.h"

#include <QPointer>

namespace {

QString modeTitle(CaptureMode mode)
{
    switch (mode) {
    case CaptureMode::ask:
        return QStringLiteral("Ask AI");
    case CaptureMode::screen:
        return QStringLiteral("Read screen");
    case CaptureMode::paste:
        break;
    }
    return QStringLiteral("Hands-free dictation");
}

} // namespace

RequestHandler::RequestHandler(AppModel &model, CaptureSessionController &controller,
                               QObject *parent)
    : QObject(parent), m_model(model), m_controller(controller)
{}

void RequestHandler::handleArguments(const QStringList &arguments)
{
    const LaunchRequest request = LaunchRequest::parse(arguments);
    switch (request.kind()) {
    case LaunchRequest::Kind::show:
        Q_EMIT mainWindowWanted();
        break;
    case LaunchRequest::Kind::url:
        handleURL(request.url());
        break;
    case LaunchRequest::Kind::toggle:
        toggleCapture(CaptureMode::paste);
        break;
    case LaunchRequest::Kind::askToggle:
        toggleCapture(CaptureMode::ask);
        break;
    case LaunchRequest::Kind::screenToggle:
        toggleCapture(CaptureMode::screen);
        break;
    case LaunchRequest::Kind::unknown:
        m_model.log(QStringLiteral("Ignored an unknown request from the command line: ") +
                    request.text());
        break;
    }
}

void RequestHandler::toggleCapture(CaptureMode mode)
{
    // For desktops whose shortcuts can only run a command: one run starts, the next ends.
    CaptureSessionController &controller = m_controller;
    switch (controller.state()) {
    case SessionState::idle:
        m_model.log(QStringLiteral("⊙ %1 started from the command line. Run it again to stop.")
                        .arg(modeTitle(mode)));
        controller.startRecording(mode, true);
        break;
    case SessionState::recording:
        m_model.log(QStringLiteral("⊙ Stopped from the command line."));
        controller.stopAndTranscribe();
        break;
    case SessionState::working:
        break;
    }
}

void RequestHandler::handleURL(const QUrl &url)
{
    const SignInCallback callback = SignInCallback::parse(url);
    switch (callback.kind()) {
    case SignInCallback::Kind::token: {
        m_model.log(QStringLiteral("Received Google sign-in token. Finishing login…"));
        MainWindowState::shared().setSignInError(QString());
        finishSignIn(callback.token());
        break;
    }
    case SignInCallback::Kind::error:
        reportSignInFailure(callback.error());
        break;
    case SignInCallback::Kind::ignored:
        break;
    }
}

QCoro::Task<void> RequestHandler::finishSignIn(QString token)
{
    QPointer<RequestHandler> self(this);
    QString failure;
    try {
        co_await AuthStore::shared().applyToken(std::move(token));
    } catch (...) {
        failure = DescribedError::describe(std::current_exception());
    }
    if (!self)
        co_return;
    if (!failure.isEmpty()) {
        reportSignInFailure(failure);
    } else {
        m_model.log(QStringLiteral("Signed in."));
        Q_EMIT mainWindowWanted();
    }
}

void RequestHandler::reportSignInFailure(const QString &reason)
{
    const QString message = reason.isEmpty() ? QStringLiteral("Sign-in failed.")
                                             : QStringLiteral("Sign-in failed: ") + reason;
    m_model.log(message);
    MainWindowState::shared().setSignInError(message);
    Q_EMIT mainWindowWanted();
}
