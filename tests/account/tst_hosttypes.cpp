// SPDX-License-Identifier: LGPL-2.1-or-later
// Inside an application that has types of its own for Qt's meta-type system, two of them of names
// that the library uses inside. With KEL_HOST_TYPES=later the application comes to the statuses
// only after the library; types of its own it has to register before.
#include "account/accountfixture.h"
#include "account/kelaccountsprivate.h"
#include "signon/requestdata.h"
#include "support/literals.h"

#include <kelaccount/kelaccounts.h>

#include <QCoreApplication>
#include <QSignalSpy>

using namespace KelTest;
using namespace KelAccount;
using facadecalls::line;

// Of other sizes than the library's.
struct ResponseType
{
    QString kind;
    QStringList parts;
    double weight = 0;
};
Q_DECLARE_METATYPE(::ResponseType)

struct RequestData
{
    QString question;
};
Q_DECLARE_METATYPE(::RequestData)

namespace {

bool comesFirst()
{
    return qgetenv("KEL_HOST_TYPES") != "later";
}

// Whatever an application may do with a status.
void useStatuses()
{
    qRegisterMetaType<ErrorStatus>("KelAccount::ErrorStatus");
    qRegisterMetaType<ErrorStatus>();
    qRegisterMetaType<ConsentQueryVariant>("KelAccount::ConsentQueryVariant");
    const QVariant status = QVariant::fromValue(ErrorTimeout);
    const QVariant variant = QVariant::fromValue(ConsentVariantUnTicked);
    Q_ASSERT(status.isValid() && variant.isValid());
}

} // namespace

class TestHostTypes : public AccountFixture
{
    Q_OBJECT

public:
    using AccountFixture::AccountFixture;

private Q_SLOTS:
    void init() { QVERIFY(reset()); }
    void cleanup() { endFacade(); }

    void initTestCase()
    {
        makeFacade();
        endFacade();
        useStatuses();
    }

    void statusesAndVariantsAreNumbersToQt()
    {
        QCOMPARE(qMetaTypeId<ErrorStatus>(), int(QMetaType::Int));
        QCOMPARE(qMetaTypeId<ConsentQueryVariant>(), int(QMetaType::Int));
        QCOMPARE(QMetaType::type("KelAccount::ErrorStatus"), int(QMetaType::Int));
        QCOMPARE(QMetaType::type("KelAccount::ConsentQueryVariant"), int(QMetaType::Int));

        const QVariant status = QVariant::fromValue(ErrorTimeout);
        QCOMPARE(status.toInt(), 404);
        QCOMPARE(status.value<ErrorStatus>(), ErrorTimeout);
        QCOMPARE(QVariant(404).value<ErrorStatus>(), ErrorTimeout);
        QCOMPARE(QVariant::fromValue(ConsentVariantUnTicked).value<ConsentQueryVariant>(),
                 ConsentVariantUnTicked);
    }

    void spiesSeeStatusesAndVariants()
    {
        makeFacade(false);
        QSignalSpy names(mAccounts.get(), &KelAccounts::isUserIdAvailableResponse);
        QSignalSpy variants(mAccounts.get(), &KelAccounts::marketingVariantResponse);
        mAccounts->isUserIdAvailable("name"_s);
        mAccounts->queryMarketingVariant();
        QVERIFY(mRecorder->waitFor(2));
        QCOMPARE(names.size(), 1);
        QCOMPARE(names.at(0).at(0).value<ErrorStatus>(), ErrorInitializationPending);
        QCOMPARE(names.at(0).at(0).toInt(), int(ErrorInitializationPending));
        QCOMPARE(variants.size(), 1);
        QCOMPARE(variants.at(0).at(0).value<ErrorStatus>(), ErrorInitializationPending);
        QCOMPARE(variants.at(0).at(1).value<ConsentQueryVariant>(), ConsentVariantUnknown);
    }

    void queuedConnectionsCarryStatusesAndVariants()
    {
        makeFacade(false);
        QList<ErrorStatus> statuses;
        QList<ConsentQueryVariant> variants;
        connect(
            mAccounts.get(), &KelAccounts::marketingVariantResponse, this,
            [&](ErrorStatus status, ConsentQueryVariant variant) {
                statuses.append(status);
                variants.append(variant);
            },
            Qt::QueuedConnection);
        mAccounts->queryMarketingVariant();
        QVERIFY(waitUntil([&] { return !statuses.isEmpty(); }));
        QCOMPARE(statuses, {ErrorInitializationPending});
        QCOMPARE(variants, {ConsentVariantUnknown});
    }

    void everyRefusalArrives()
    {
        makeFacade(false);
        QStringList expected;
        for (const auto& operation : facadecalls::ofTheSession()) {
            operation.call(*mAccounts);
            expected.append(line(operation.refusal, ErrorInitializationPending));
        }
        for (const auto& setUp : facadecalls::setUps()) {
            setUp.start(*mAccounts, true);
            expected.append(facadecalls::failure(setUp, ErrorInitializationPending));
        }
        QVERIFY(answersOnce(expected.size()));
        QCOMPARE(lines(), expected);
    }

    void requestsThatWaitedAreSent()
    {
        QVERIFY(resetForSignedInUser());
        QStringList expected;
        for (const auto& operation : facadecalls::ofTheSession()) {
            operation.call(*mAccounts);
            expected.append(line(operation.answer, 0));
        }
        QVERIFY(answersOnce(expected.size()));
        QCOMPARE(lines(), expected);
    }

    void theNamesAreTheHostsOrOurs()
    {
        const int response = QMetaType::type("ResponseType");
        const int request = QMetaType::type("RequestData");
        if (comesFirst()) {
            QCOMPARE(response, qMetaTypeId<::ResponseType>());
            QCOMPARE(request, qMetaTypeId<::RequestData>());
            const ::ResponseType own{"kind"_s, {"part"_s}, 1};
            QCOMPARE(QVariant::fromValue(own).value<::ResponseType>().parts, own.parts);
        } else {
            QCOMPARE(response, qMetaTypeId<KelAccountsPrivate::ResponseType>());
            QCOMPARE(request, qMetaTypeId<KelAccount::RequestData>());
        }
    }
};

namespace {

int runHostTypes(int argc, char** argv)
{
    if (comesFirst()) {
        qRegisterMetaType<::ResponseType>("ResponseType");
        qRegisterMetaType<::RequestData>("RequestData");
        useStatuses();
    }
    return runInSession<TestHostTypes>(argc, argv);
}

} // namespace

KEL_TEST_MAIN(runHostTypes)

#include "tst_hosttypes.moc"
