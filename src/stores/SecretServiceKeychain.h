#pragma once

#include "stores/Keychain.h"

// The keyring of the desktop session over the Secret Service (gnome-keyring, KWallet).
class SecretServiceKeychain : public Keychain
{
public:
    explicit SecretServiceKeychain(QString service = QStringLiteral("Ovrin"));

    QCoro::Task<Reply> save(QString key, QString value) override;
    QCoro::Task<Reply> read(QString key) override;
    QCoro::Task<Reply> remove(QString key) override;

private:
    QString m_service;
};
