// SPDX-License-Identifier: LGPL-2.1-or-later
// A library and a plugin that were installed at different times: sessions open all the same, and
// the log says that there are two versions.
#include "signonfixture.h"
#include "support/literals.h"
#include "support/messagelog.h"

using namespace KelTest;

class TestPluginVersion : public SignOnFixture
{
    Q_OBJECT

public:
    using SignOnFixture::SignOnFixture;

private Q_SLOTS:
    void initTestCase()
    {
        mCredentials = storeCredentials();
        QVERIFY(mCredentials > 0);
    }

    void init() { makeInterface(); }

    void itsOwnNeedsNoWord()
    {
        QVERIFY(opensWith(QStringLiteral(KELACCOUNT_TEST_VERSION)));
        QCOMPARE(mSaid, QStringList());
    }

    void anotherOneIsNamed_data()
    {
        QTest::addColumn<QString>("version");
        QTest::newRow("older") << "0.9.12"_s;
        QTest::newRow("newer") << "2.0"_s;
    }
    void anotherOneIsNamed()
    {
        QFETCH(QString, version);
        QVERIFY(opensWith(version));
        QCOMPARE(mSaid, QStringList("W The sign-on plugin is of version %1, the library of "
                                    "version " KELACCOUNT_TEST_VERSION ""_s.arg(version)));
    }

    void whatIsNoVersionStaysOutOfTheLog_data()
    {
        QTest::addColumn<QVariant>("version");
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("empty") << QVariant(""_s);
        QTest::newRow("lines") << QVariant("1.0\n2.0"_s);
        QTest::newRow("a line's end") << QVariant("1.0\n"_s);
        QTest::newRow("long") << QVariant(QString(21, QLatin1Char('1')));
        QTest::newRow("no text") << QVariant(QVariantList{1, 0});
    }
    void whatIsNoVersionStaysOutOfTheLog()
    {
        QFETCH(QVariant, version);
        QVERIFY(opensWith(version));
        QCOMPARE(mSaid, QStringList("W The sign-on plugin does not say of which version it is; the "
                                    "library is of version " KELACCOUNT_TEST_VERSION ""_s));
    }

private:
    bool opensWith(const QVariant& version)
    {
        QVariantMap answer;
        if (version.isValid())
            answer.insert("PluginVersion"_s, version);
        mSandbox.script({{"initialise"_s, PluginStep::Answer, answer}});
        MessageLog log;
        const bool opened = open();
        mSaid = log.all().filter("version"_s);
        return opened;
    }

    QStringList mSaid;
};

int main(int argc, char** argv)
{
    return runInSession<TestPluginVersion>(argc, argv);
}

#include "tst_pluginversion.moc"
