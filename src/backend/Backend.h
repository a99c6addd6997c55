#pragma once

#include "backend/AnswerStreamReader.h"
#include "backend/AppConnection.h"
#include "backend/AssistantTask.h"
#include "backend/AuthSession.h"
#include "backend/BackendError.h"
#include "backend/BackendRequest.h"
#include "backend/BackendResponse.h"
#include "backend/DictionaryTerm.h"
#include "backend/HistoryEntry.h"
#include "backend/Meeting.h"
#include "backend/MemoryItem.h"
#include "backend/MultipartBody.h"
#include "backend/PresignedUpload.h"
#include "backend/Project.h"
#include "backend/Reminder.h"
#include "core/CancellationToken.h"

#include <QCoro/QCoroTask>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QStringList>
#include <QUrl>

#include <optional>

class Clock;
class QNetworkReply;
class TokenProvider;

// The one HTTP client of the backend service. Every call is a coroutine that returns
// its value on the main thread or throws BackendError (or DecodingError for a record
// that does not decode). Nothing is cached and nothing is retried. The calls of a capture
// session and the health check are virtual: they are the seam unit tests fake; everything
// else is tested against a fake server.
class Backend
{
public:
    using DeltaHandler = AnswerStreamReader::DeltaHandler;
    using ActionHandler = AnswerStreamReader::ActionHandler;

    // A reply past this size fails as too large; an error reply is read only this far.
    static constexpr qsizetype maxReplyBytes = 64 * 1024 * 1024;
    static constexpr qsizetype maxErrorReplyBytes = 64 * 1024;

    // The instance of the application, on http://127.0.0.1:8787. The address is fixed.
    static Backend &shared();
    // A client of another address: for tests against a fake server only.
    explicit Backend(QUrl baseURL, const Clock *clock = nullptr);
    virtual ~Backend();
    Backend(const Backend &) = delete;
    Backend &operator=(const Backend &) = delete;

    const QUrl &baseURL() const { return m_baseURL; }
    // The provider is read for every request; without one (or with an empty token)
    // no Authorization header is sent.
    void setTokenProvider(const TokenProvider *provider) { m_tokens = provider; }
    // How long a request may go without a byte either way before it fails as unreachable;
    // uploads and transcriptions set longer ones of their own.
    void setRequestTimeoutSeconds(int seconds) { m_requestTimeoutSeconds = seconds; }

    // --- core ---
    BackendRequest makeRequest(const QString &path, const QByteArray &method) const;
    static void setJsonBody(BackendRequest &request, const QJsonObject &body);
    // The transport step: a failure to connect, a time-out or a cancellation
    // becomes notReachable. Any HTTP status comes back as is.
    QCoro::Task<BackendResponse> perform(BackendRequest request, CancellationToken cancel = {});
    static void ensureOK(const BackendResponse &response);
    // perform + ensureOK; an empty body is an empty object; a body that is JSON but
    // not an object is badResponse; a body that is not JSON is a DecodingError.
    QCoro::Task<QJsonObject> send(BackendRequest request, CancellationToken cancel = {});
    // The local date and time as sent in "now".
    QString deviceNow() const;
    // GET /health within 3 seconds, without credentials. Never throws.
    virtual QCoro::Task<bool> health();

    // --- speech and ask ---
    virtual QCoro::Task<QString> transcribe(QByteArray wav, bool cleanup,
                                            CancellationToken cancel = {});
    static QByteArray transcribeBody(MultipartBody &body, const QByteArray &wav, bool cleanup);
    // A transcription streamed while the key is held: opened with the take's rate, fed
    // 16-bit mono chunks in order (`seq` from 0; a repeat is ignored by the server), finished
    // for the text. A server that can only take whole files refuses to open one.
    virtual QCoro::Task<QString> openTranscriptionStream(int sampleRate, bool cleanup,
                                                         CancellationToken cancel = {});
    virtual QCoro::Task<void> sendTranscriptionAudio(QString stream, int seq, QByteArray pcm16,
                                                     CancellationToken cancel = {});
    virtual QCoro::Task<QString> finishTranscriptionStream(QString stream,
                                                           CancellationToken cancel = {});
    // Tells the server to forget it; never throws, nothing waits for it.
    virtual void dropTranscriptionStream(QString stream);
    virtual QCoro::Task<QString> ask(QString question, QString context, QStringList apps,
                                     DeltaHandler onDelta, ActionHandler onAction,
                                     CancellationToken cancel = {});
    virtual QCoro::Task<QString> askImage(QString question, QByteArray image, DeltaHandler onDelta,
                                          CancellationToken cancel = {});
    virtual QCoro::Task<void> addHistory(QString kind, QString text);
    // Sends the request and reads its answer stream (see AnswerStreamReader).
    QCoro::Task<QString> streamAnswer(BackendRequest request, DeltaHandler onDelta,
                                      ActionHandler onAction, CancellationToken cancel);

    // --- account ---
    QCoro::Task<AuthSession> login(QString email, QString password);
    // Registration ("register" is a reserved word in C++).
    QCoro::Task<AuthSession> registerAccount(QString email, QString password, QString name);
    QCoro::Task<AuthUser> me();
    QCoro::Task<bool> googleAvailable();
    // The browser sign-in page.
    QUrl googleSignInURL() const;

    // --- history, dictionary, tasks, reminders, memories, projects, connections ---
    QCoro::Task<QList<HistoryEntry>> history(std::optional<QString> scope);
    QCoro::Task<void> clearHistory(std::optional<QString> scope);
    QCoro::Task<QList<DictionaryTerm>> dictionary();
    QCoro::Task<DictionaryTerm> createDictionaryTerm(QString term, std::optional<QString> variant);
    QCoro::Task<void> deleteDictionaryTerm(QString id);
    QCoro::Task<QList<AssistantTask>> tasks();
    QCoro::Task<void> completeTask(QString id, bool done);
    QCoro::Task<void> deleteTask(QString id);
    QCoro::Task<QList<Reminder>> reminders();
    QCoro::Task<void> deleteReminder(QString id);
    QCoro::Task<QList<MemoryItem>> memories();
    QCoro::Task<void> deleteMemory(QString id);
    QCoro::Task<QList<Project>> projects();
    QCoro::Task<QList<AppConnection>> connections();
    // The provider's sign-in page to open in the browser.
    QCoro::Task<QUrl> connect(QString app);
    QCoro::Task<void> disconnect(QString slug);

    // --- meetings ---
    QCoro::Task<PresignedUpload> presignUpload();
    // PUT the file, streamed from disk, straight to the presigned address.
    QCoro::Task<void> uploadRecording(QUrl url, QString filePath);
    QCoro::Task<Meeting> createMeeting(QString key, qint64 durationSec);
    QCoro::Task<QList<Meeting>> meetings();
    QCoro::Task<void> deleteMeeting(QString id);

private:
    Backend();
    QNetworkReply *start(const BackendRequest &request, QIODevice *upload = nullptr);
    QCoro::Task<BackendResponse> performPromptly(BackendRequest request, CancellationToken cancel);
    // Aborts every call of this kind under way, its waiter hearing of it at once.
    template <class Call> void endAll();
    // The connection failed, timed out, was cancelled or broke off mid-body. Errors
    // that only restate an HTTP status (404, 500, ...) are not transport failures.
    static bool isTransportFailure(const QNetworkReply &reply);
    // GET `path`; every value of the reply object must be an array of T; returns the
    // one under `key`. Anything else is badResponse.
    template <class T> QCoro::Task<QList<T>> getList(QString path, QString key);
    QCoro::Task<void> sendIgnoringResult(QString path, QByteArray method,
                                         std::optional<QJsonObject> body = {});
    QCoro::Task<QJsonObject> decodeObject(BackendRequest request);
    QCoro::Task<AuthSession> decodeAuth(BackendRequest request);

    QUrl m_baseURL;
    const Clock *m_clock;
    const TokenProvider *m_tokens = nullptr;
    int m_requestTimeoutSeconds = 60;
    QNetworkAccessManager m_network;
};
