#pragma once

// The stores and audio objects as QML types, without them knowing about QML.
#include "audio/MeetingAudioPlayer.h"
#include "audio/MeetingRecorder.h"
#include "platform/linux/FnKey.h"
#include "stores/AssistantStore.h"
#include "stores/AuthStore.h"
#include "stores/DictionaryStore.h"
#include "stores/HistoryStore.h"
#include "stores/MeetingStore.h"
#include "stores/RecordListModel.h"
#include "ui/QmlStores.h"

#include <QtQml/qqml.h>

struct AuthStoreForeign
{
    Q_GADGET
    QML_FOREIGN(AuthStore)
    QML_NAMED_ELEMENT(AuthStore)
    QML_SINGLETON
public:
    static AuthStore *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<AuthStore>();
    }
};

struct HistoryStoreForeign
{
    Q_GADGET
    QML_FOREIGN(HistoryStore)
    QML_NAMED_ELEMENT(HistoryStore)
    QML_SINGLETON
public:
    static HistoryStore *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<HistoryStore>();
    }
};

struct DictionaryStoreForeign
{
    Q_GADGET
    QML_FOREIGN(DictionaryStore)
    QML_NAMED_ELEMENT(DictionaryStore)
    QML_SINGLETON
public:
    static DictionaryStore *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<DictionaryStore>();
    }
};

struct MeetingStoreForeign
{
    Q_GADGET
    QML_FOREIGN(MeetingStore)
    QML_NAMED_ELEMENT(MeetingStore)
    QML_SINGLETON
public:
    static MeetingStore *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<MeetingStore>();
    }
};

struct AssistantStoreForeign
{
    Q_GADGET
    QML_FOREIGN(AssistantStore)
    QML_NAMED_ELEMENT(AssistantStore)
    QML_SINGLETON
public:
    static AssistantStore *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<AssistantStore>();
    }
};

struct MeetingRecorderForeign
{
    Q_GADGET
    QML_FOREIGN(MeetingRecorder)
    QML_NAMED_ELEMENT(MeetingRecorder)
    QML_SINGLETON
public:
    static MeetingRecorder *create(QQmlEngine *, QJSEngine *)
    {
        return QmlStores::singleton<MeetingRecorder>();
    }
};

// The key that acts as fn, chosen on the settings page.
struct FnKeyForeign
{
    Q_GADGET
    QML_FOREIGN(FnKey)
    QML_NAMED_ELEMENT(FnKey)
    QML_SINGLETON
public:
    static FnKey *create(QQmlEngine *, QJSEngine *) { return QmlStores::singleton<FnKey>(); }
};

// The rows of the stores' lists; made only by the stores.
struct RecordListModelForeign
{
    Q_GADGET
    QML_FOREIGN(RecordListModel)
    QML_ANONYMOUS
};

// One per meeting detail view.
struct MeetingAudioPlayerForeign
{
    Q_GADGET
    QML_FOREIGN(MeetingAudioPlayer)
    QML_NAMED_ELEMENT(MeetingAudioPlayer)
};
