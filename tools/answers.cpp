// SPDX-License-Identifier: LGPL-2.1-or-later
#include "answers.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/preaccountinfo.h>
#include <kelaccount/profileinfo.h>

#include <QMetaMethod>
#include <QMetaProperty>

#include <utility>

using KelAccount::KelAccounts;
using KelAccount::PreAccountInfo;
using KelAccount::ProfileInfo;

namespace {

// Named like the operation, or like what follows its verb.
QMetaMethod answerTo(QByteArray operation)
{
    const QMetaObject& facade = KelAccounts::staticMetaObject;
    const auto signalNamed = [&](const QByteArray& name) {
        for (int i = facade.methodOffset(); i < facade.methodCount(); ++i) {
            const QMetaMethod method = facade.method(i);
            if (method.methodType() == QMetaMethod::Signal && method.name() == name)
                return method;
        }
        return QMetaMethod();
    };
    const QMetaMethod signal = signalNamed(operation + "Response");
    if (signal.isValid())
        return signal;
    while (!operation.isEmpty() && QChar::isLower(uchar(operation.at(0))))
        operation.remove(0, 1);
    return signalNamed(operation.left(1).toLower() + operation.mid(1) + "Response");
}

// An answer to a security question is as good as a password.
bool isSecret(const QMetaProperty& property)
{
    return qstrcmp(property.name(), "securityAnswer") == 0;
}

template <class Use>
void forEachShown(Use use)
{
    const QMetaObject& meta = ProfileInfo::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        if (!isSecret(meta.property(i)))
            use(meta.property(i));
    }
}

Field::Type fieldType(const QMetaProperty& property)
{
    switch (property.type()) {
    case QVariant::Bool:
        return Field::Type::YesNo;
    case QVariant::Int:
    case QVariant::UInt:
    case QVariant::LongLong:
        return Field::Type::Number;
    case QVariant::StringList:
        return Field::Type::Texts;
    default:
        return Field::Type::Text;
    }
}

// The rest are as many as fields, and in their order.
void append(decltype(Outcome::values)& values, const QVariant& carried,
            const std::vector<Field>& fields)
{
    const auto add = [&values](const auto& name, const QVariant& value) {
        values.push_back({name, value});
    };
    if (carried.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = carried.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            add(it.key(), it.value());
    } else if (carried.userType() == qMetaTypeId<ProfileInfo*>()) {
        if (const auto* const profile = carried.value<ProfileInfo*>())
            forEachShown([&](const QMetaProperty& property) {
                add(QLatin1String(property.name()), property.read(profile));
            });
    } else if (carried.userType() == qMetaTypeId<PreAccountInfo>()) {
        const auto info = carried.value<PreAccountInfo>();
        const QString country = info.country == QLocale::AnyCountry
                                    ? QString()
                                    : QLocale::countryToString(info.country);
        add(QStringLiteral("preAccountId"), info.preAccountId);
        add(QStringLiteral("username"), info.username);
        add(QStringLiteral("mobile"), info.mobile);
        add(QStringLiteral("country"), country);
    } else {
        add(QString::fromStdString(fields.at(values.size()).name), carried);
    }
}

// The slot of a receiver like this one needs no declaration: its number follows QObject's methods,
// and the arguments come as the signal has them.
class Receiver : public QObject
{
public:
    Receiver(KelAccounts& accounts, const ClientCommand& command, Report report)
        : QObject(&accounts), mSignal(answerTo(command.operation)), mCommand(command),
          mReport(std::move(report))
    {
        if (!mSignal.isValid())
            qFatal("no signal of the facade answers %s", command.operation);
        QMetaObject::connect(&accounts, mSignal.methodIndex(), this,
                             QObject::staticMetaObject.methodCount(), Qt::DirectConnection);
    }

    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override
    {
        id = QObject::qt_metacall(call, id, arguments);
        if (call != QMetaObject::InvokeMetaMethod || id != 0)
            return id;
        Outcome outcome{QString::fromLatin1(mSignal.name()), *static_cast<int*>(arguments[1]), {}};
        for (int i = 1; i < mSignal.parameterCount(); ++i) {
            append(outcome.values, QVariant(mSignal.parameterType(i), arguments[i + 1]),
                   mCommand.fields);
        }
        mReport(outcome);
        return -1;
    }

private:
    const QMetaMethod mSignal;
    const ClientCommand& mCommand;
    const Report mReport;
};

} // namespace

void reportAnswer(KelAccounts& accounts, const ClientCommand& command, const Report& report)
{
    new Receiver(accounts, command, report); // the facade's child
}

std::vector<Field> profileFields()
{
    std::vector<Field> fields;
    forEachShown([&fields](const QMetaProperty& property) {
        fields.push_back({property.name(), fieldType(property), false});
    });
    return fields;
}
