// SPDX-License-Identifier: LGPL-2.1-or-later
// What a whole process leaves in its memory is looked at from outside; here, what one wipe leaves,
// and that nobody else loses anything.
#include "common/wipe.h"
#include "support/literals.h"

#include <QTest>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>

using KelAccount::SecretText;
using KelAccount::wipe;

namespace {

constexpr int secretLength = 200;

QString secretText()
{
    return QString(secretLength, QLatin1Char('q'));
}

QByteArray secretBytes()
{
    return QByteArray(secretLength, 'q');
}

/// What lies where a secret was, once `end` has let go of it: "the secret" or "something else". The
/// kernel is asked, since the memory is nobody's by then; nothing is allocated in between.
template <class Secret, class End>
QByteArray leftAfter(Secret secret, const End& end)
{
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    const auto address = reinterpret_cast<off_t>(secret.constData());
    std::array<char, secretLength * sizeof(*secret.constData())> before{};
    std::array<char, sizeof before> after{};
    const bool isReadBefore =
        ::pread(memory, before.data(), before.size(), address) == ssize_t(before.size());
    end(secret);
    const bool isReadAfter =
        ::pread(memory, after.data(), after.size(), address) == ssize_t(after.size());
    ::close(memory);
    if (!isReadBefore || before.front() != 'q' || !isReadAfter)
        return "unreadable";
    // The allocator may have written in what was freed, at an end of it.
    constexpr auto middle = sizeof before / 2;
    return std::equal(before.begin() + middle / 2, before.begin() + middle,
                      after.begin() + middle / 2)
               ? "the secret"
               : "something else";
}

/// Wipes what `make` makes of the secret, which is in nothing else then.
template <class Make>
auto wipedIn(const Make& make)
{
    return [make](auto& secret) {
        auto holder = make(secret);
        secret.clear();
        wipe(holder);
    };
}

} // namespace

class TestWipe : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsWipedIsEmpty()
    {
        QString text = QString::number(12345);
        QByteArray bytes = QByteArray::number(12345);
        wipe(text);
        wipe(bytes);
        QVERIFY(text.isNull());
        QVERIFY(bytes.isNull());
        wipe(text);
        wipe(bytes);
    }

    void nothingIsLeftWhereTheSecretWas()
    {
        const auto alone = [](const auto& secret) { return secret; };
        const auto inVariant = [](const auto& secret) { return QVariant(secret); };
        const auto inList = [](const auto& secret) { return QVariant(QVariantList{1, secret}); };
        const auto inTexts = [](const QString& secret) { return QVariant(QStringList{secret}); };
        const auto inMap = [](const auto& secret) { return QVariantMap{{"a"_s, secret}}; };
        const auto inInnerMap = [&](const auto& secret) { return QVariant(inMap(secret)); };
        const auto inMapOfTexts = [](const QString& secret) {
            return QMap<QString, QString>{{"a"_s, secret}};
        };
        const QByteArray good = "something else"_ba;
        QCOMPARE(leftAfter(secretText(), wipedIn(alone)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inVariant)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inList)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inTexts)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inMap)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inInnerMap)), good);
        QCOMPARE(leftAfter(secretText(), wipedIn(inMapOfTexts)), good);
        QCOMPARE(leftAfter(secretBytes(), wipedIn(alone)), good);
        QCOMPARE(leftAfter(secretBytes(), wipedIn(inVariant)), good);
        QCOMPARE(leftAfter(secretBytes(), wipedIn(inList)), good);
    }

    void aSecretTextLeavesNothingOfWhatItWas()
    {
        const QByteArray good = "something else"_ba;
        const auto ended = [](QString& text) {
            SecretText secret = text;
            text = QString();
        };
        const auto replaced = [](QString& text) {
            SecretText secret = text;
            text = QString();
            secret = QString::number(1);
        };
        QCOMPARE(leftAfter(secretText(), ended), good);
        QCOMPARE(leftAfter(secretText(), replaced), good);
    }

    void whatIsSharedStaysWithTheOthers()
    {
        QString text = QString::number(12345);
        const QString other = text;
        wipe(text);
        QCOMPARE(other, "12345"_s);
        QByteArray bytes = QByteArray::number(12345);
        const QByteArray otherBytes = bytes;
        wipe(bytes);
        QCOMPARE(otherBytes, "12345"_ba);
        QVariantMap map = {{"a"_s, other}};
        const QVariantMap otherMap = map;
        wipe(map);
        QVERIFY(map.isEmpty());
        QCOMPARE(otherMap.value("a"_s), QVariant(other));
    }

    void aLiteralStays()
    {
        for (int i = 0; i < 2; ++i) {
            QString text = "literal"_s;
            QByteArray bytes = "literal"_ba;
            QCOMPARE(text, QLatin1String("literal"));
            QCOMPARE(bytes, "literal"_ba);
            wipe(text);
            wipe(bytes);
        }
    }

    void everythingInAMapIsWiped()
    {
        const QString outside = QString::number(1);
        QVariantMap map = {
            {"text"_s, QString::number(2)},
            {"shared"_s, outside},
            {"bytes"_s, QByteArray::number(3)},
            {"list"_s, QVariantList{QString::number(4), 5}},
            {"texts"_s, QStringList{QString::number(6)}},
            {"map"_s, QVariantMap{{"inside"_s, QString::number(7)}}},
            {"number"_s, 8},
            {"nothing"_s, QVariant()},
        };
        wipe(map);
        QVERIFY(map.isEmpty());
        QCOMPARE(outside, "1"_s);
    }

    void aSecretTextIsATextLikeOthers()
    {
        const QString plain = QString::number(12345);
        SecretText secret = plain;
        SecretText copy = secret;
        secret = QString::number(6);
        QCOMPARE(QString(copy), plain);
        const SecretText& itself = copy;
        copy = itself;
        copy = QString(copy);
        QCOMPARE(QString(copy), plain);
        secret = copy;
        copy = QString();
        QCOMPARE(QString(secret), plain);
    }
};

QTEST_GUILESS_MAIN(TestWipe)
#include "tst_wipe.moc"
