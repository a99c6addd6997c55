#pragma once

#include <QString>
#include <QUrl>

// The browser's answer to a sign-in, delivered as ovrin://auth?token=… or
// ovrin://auth?error=…. Every other URL is ignored.
class SignInCallback
{
public:
    enum class Kind { ignored, token, error };

    static SignInCallback parse(const QUrl &url);

    Kind kind() const { return m_kind; }
    // Set for token.
    QString token() const { return m_kind == Kind::token ? m_value : QString(); }
    // Set for error, percent-decoded; may be empty when the sender gave no reason.
    QString error() const { return m_kind == Kind::error ? m_value : QString(); }

private:
    Kind m_kind = Kind::ignored;
    QString m_value;
};
