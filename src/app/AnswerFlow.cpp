#include "app/AnswerFlow.h"

#include "audio/Sounds.h"
#include "core/Text.h"
#include "desktop/Paster.h"
#include "hud/RecordingHUD.h"
#include "platform/InstalledApps.h"
#include "state/AppModel.h"
#include "stores/HistoryStore.h"

#include <QPointer>

namespace {

using Text::quoted;
using Sound = Sounds::Sound;

} // namespace

AnswerFlow::AnswerFlow(CaptureServices services, Session session, QObject *parent)
    : QObject(parent), m_services(services), m_session(std::move(session))
{}

QCoro::Task<void> AnswerFlow::ask(QByteArray wav, QString askContext, CancellationToken token)
{
    QPointer<AnswerFlow> self(this);
    const QString question =
        Text::trimmed(co_await m_services.backend.transcribe(std::move(wav), false, token));
    if (isGone(self, token))
        co_return;
    if (question.isEmpty()) {
        m_session.endIdle();
        m_services.model.log(QStringLiteral("Nothing heard for the AI."));
        m_session.setStatus(QStringLiteral("Nothing heard"));
        m_services.hud.showError(QStringLiteral("Didn't catch that — no speech detected."));
        m_services.sounds.play(Sound::fail);
        co_return;
    }

    m_services.model.setLastTranscript(question);
    m_services.model.log(QStringLiteral("❓ Asked: ") + quoted(question));
    m_services.hud.startStreaming(question);

    const QString answer =
        co_await m_services.backend.ask(question, askContext, m_services.apps.names(),
                                        deltaHandler(token), actionHandler(token), token);
    if (isGone(self, token))
        co_return;
    finish(answer);
    m_services.history.refresh({HistoryScope::chat}, true);
}

QCoro::Task<void> AnswerFlow::screen(QByteArray wav, std::optional<ScreenshotTask> screenshot,
                                     CancellationToken token)
{
    QPointer<AnswerFlow> self(this);
    std::optional<QByteArray> jpeg;
    if (screenshot) {
        try {
            jpeg = co_await *screenshot;
        } catch (...) {
            jpeg.reset();
        }
    }
    if (isGone(self, token))
        co_return;
    if (!jpeg || jpeg->isEmpty()) {
        // Without a picture the question is pointless: the audio is never sent.
        m_session.endIdle();
        m_services.model.log(QStringLiteral("Screen capture failed — likely not an X11 session."));
        m_services.hud.showError(
            QStringLiteral("Couldn't capture the screen. Read screen needs an X11 session — "
                           "log in to one, then try again."));
        m_session.privacyHelp(QStringLiteral("Privacy_ScreenCapture"));
        m_services.sounds.play(Sound::fail);
        co_return;
    }

    const QString spoken =
        Text::trimmed(co_await m_services.backend.transcribe(std::move(wav), false, token));
    if (isGone(self, token))
        co_return;
    m_services.model.log(spoken.isEmpty()
                             ? QStringLiteral("◳ Asking about the screen (no question)…")
                             : QStringLiteral("◳ Asked about screen: ") + quoted(spoken));
    const QString question = spoken.isEmpty() ? QStringLiteral("What's on my screen?") : spoken;
    m_services.hud.startStreaming(question);

    const QString answer =
        co_await m_services.backend.askImage(question, *jpeg, deltaHandler(token), token);
    if (isGone(self, token))
        co_return;
    finish(answer);
    m_services.history.refresh({HistoryScope::chat}, true);
}

Backend::DeltaHandler AnswerFlow::deltaHandler(const CancellationToken &token)
{
    QPointer<AnswerFlow> self(this);
    return [self, token](const QString &delta) {
        if (!isGone(self, token))
            self->m_services.hud.appendStreaming(delta);
    };
}

Backend::ActionHandler AnswerFlow::actionHandler(const CancellationToken &token)
{
    QPointer<AnswerFlow> self(this);
    return [self, token](const QString &type, const QString &name) {
        if (isGone(self, token) || type != u"open_app")
            return;
        if (self->m_services.apps.open(name))
            self->m_services.model.log(QStringLiteral("🚀 Opened ") + name);
        else
            self->m_services.model.log(QStringLiteral("⚠️ Couldn't find app: ") + name);
    };
}

void AnswerFlow::finish(const QString &answer)
{
    m_session.endIdle();
    const QString text = Text::trimmed(answer);
    if (text.isEmpty()) {
        m_services.model.log(QStringLiteral("AI returned an empty answer."));
        m_session.setStatus(QStringLiteral("No answer"));
        m_services.hud.showError(QStringLiteral("The AI returned an empty answer."));
        m_services.sounds.play(Sound::fail);
        return;
    }
    m_services.model.log(QStringLiteral("✓ AI answered."));
    m_services.paster.copy(text);
    m_services.hud.finishStreaming(m_services.model.askKeyName(), text);
    m_session.setStatus(QStringLiteral("Answered ✓ (copied to clipboard)"));
    m_services.sounds.play(Sound::done);
}
