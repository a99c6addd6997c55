#pragma once

#include <QCoreApplication>

// The one instance of T for the whole process, made by `make` on first use and deleted
// with the application object, before the Qt machinery it may use is gone.
template <class T, class Make> T &processWide(Make make)
{
    static T *instance = nullptr;
    if (!instance) {
        instance = make();
        qAddPostRoutine([] {
            delete instance;
            instance = nullptr;
        });
    }
    return *instance;
}
