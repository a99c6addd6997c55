#pragma once

#include <QList>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>

// One element another process shows, as a screen reader sees it over AT-SPI.
struct AccessibleNode
{
    QString window; // name of the top-level frame it is in
    QString role;   // AT-SPI role name: "push button", "label", "text"…
    QString name;
    QRect rect; // screen coordinates
    QPoint center() const { return rect.center(); }
};

// The accessible tree of a running application, found by its process id. Only what is
// showing counts: hidden pages and closed panels keep their elements in the tree.
class AccessibleApp
{
public:
    explicit AccessibleApp(qint64 pid = 0);
    void setPid(qint64 pid) { m_pid = pid; }

    QList<AccessibleNode> nodes() const;
    QStringList names() const;
    std::optional<AccessibleNode> find(const QString &role, const QString &name) const;
    // Polls until an element matches; the last snapshot is kept for failure messages.
    std::optional<AccessibleNode> waitFor(const std::function<bool(const AccessibleNode &)> &match,
                                          int timeoutMs);
    std::optional<AccessibleNode> waitForName(const QString &name, int timeoutMs = 10000);
    std::optional<AccessibleNode> waitForNameContaining(const QString &part, int timeoutMs = 10000);
    // Runs the element's first action ("Press"), as a screen reader's user would.
    bool press(const QString &role, const QString &name);
    // What was showing at the last poll, one element per line, for QVERIFY2 messages.
    QString lastSnapshot() const;

private:
    qint64 m_pid;
    QList<AccessibleNode> m_last;
};
