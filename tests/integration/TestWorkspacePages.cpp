// Placeholder: the page tests land here.
#include "window/MainWindowFixture.h"

#include <QTest>

class TestWorkspacePages : public QObject
{
    Q_OBJECT

    MainWindowFixture m_rig;

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_rig.start()); }
};

QTEST_MAIN(TestWorkspacePages)
#include "TestWorkspacePages.moc"
