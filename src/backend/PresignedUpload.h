#pragma once

#include <QString>
#include <QUrl>

// Where to PUT a meeting recording, and the object key that names it afterwards.
struct PresignedUpload
{
    QUrl uploadURL;
    QString key;
};
