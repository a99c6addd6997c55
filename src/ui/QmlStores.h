#pragma once

// The process-wide stores as QML singletons, without the stores knowing about QML.
#include "stores/AuthStore.h"

#include <QJSEngine>
#include <QtQml/qqml.h>

namespace QmlStores {

template <class Store> Store *singleton()
{
    Store *store = &Store::shared();
    QJSEngine::setObjectOwnership(store, QJSEngine::CppOwnership);
    return store;
}

} // namespace QmlStores

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
