#pragma once

#include <QByteArray>

// What came back for a request that reached the other side.
struct BackendResponse
{
    bool isHttp = false;
    int status = -1;
    QByteArray body;
};
