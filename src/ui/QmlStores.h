#pragma once

// The process-wide stores the window presents. QML asks here rather than calling shared()
// so that a test can put stores of its own (on a fake backend) in their place.
#include <QJSEngine>
#include <QObject>

#include <type_traits>

namespace QmlStores {

template <class T> T *&replacement()
{
    static T *instance = nullptr;
    return instance;
}

// Until it is reset with nullptr, `instance` is what the window uses for T.
template <class T> void use(T *instance)
{
    replacement<T>() = instance;
}

template <class T> T &instance()
{
    T *replaced = replacement<T>();
    return replaced ? *replaced : T::shared();
}

// For a QML singleton's create(): the C++ side keeps ownership.
template <class T> T *singleton()
{
    T *object = &instance<T>();
    if constexpr (std::is_base_of_v<QObject, T>)
        QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
    return object;
}

} // namespace QmlStores
