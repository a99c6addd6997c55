#pragma once

#include <QByteArray>
#include <QNetworkRequest>

// One request of the backend protocol: address, headers and time-out live in
// `request`; `method` is the HTTP verb and `body` the bytes sent (maybe none).
struct BackendRequest
{
    QNetworkRequest request;
    QByteArray method;
    QByteArray body;
    // Sent on a connection of its own without Nagle's delay (PromptHttpExchange): for an
    // upload the user is waiting on.
    bool prompt = false;

    void setTimeoutSeconds(int seconds) { request.setTransferTimeout(seconds * 1000); }
};
