// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "rest/request/netrequesttype.h"
#include "support/literals.h"

#include <QMap>
#include <QStringList>
#include <QVariantList>
#include <QVector>

#include <functional>

namespace KelAccount {
class KelAccounts;
}
namespace KelRestHandler {
class RESTRequestHandler;
}

/// The operations of the facade, as an application sees them and as what is behind it does: the
/// REST layer for those that need no sign-on session, the plugin for the others and the two
/// set-ups.
namespace facadecalls {

using KelAccount::KelAccounts;
using Call = std::function<void(KelAccounts&)>;

struct BadCall
{
    QByteArray name; ///< the argument that is missing or wrong
    Call call;
};

/// An answer of the REST layer, and every signal that becomes of it.
struct Answer
{
    const char* name;
    std::function<void(KelRestHandler::RESTRequestHandler&)> give;
    QStringList lines; ///< as FacadeRecorder writes them
};

/// An argument that becomes part of the request's address, or of its headers as a language does,
/// and what a call is answered with whose value cannot stand there.
struct Placed
{
    enum Kind { Path, Query };
    int position;
    Kind kind;
    int status = 1001;
    int earlyStatus = 1001; ///< of an object that is not initialised
};

struct Operation
{
    const char* name;
    QVariantList arguments;  ///< nothing is wrong with them
    const char* refusal;     ///< the one signal of a refusal, with %1 for the status
    const char* answer;      ///< of an answer, where the plugin gives it
    QMap<int, QVariant> bad; ///< values by the positions of arguments that must not have them

    const char* mechanism = nullptr; ///< that the plugin is asked for

    KelRestHandler::NetRequestType sent = {}; ///< the REST layer's operation
    QVariantList sentArguments = {};  ///< that it is given, but for the service tag at their end
    const char* failure = nullptr;    ///< logged when it cannot be sent
    const char* tagPurpose = nullptr; ///< null: without a service tag
    QVector<Answer> answers = {};     ///< the first is a success
    QVector<Placed> placed = {};

    QByteArray target = {};      ///< that the service is asked for, below the base address
    const char* reply = nullptr; ///< a recorded one, or none; "the picture" is no recorded one
    QStringList lines = {};      ///< the signals, as FacadeRecorder writes them

    void call(KelAccounts& accounts) const;
    QVector<BadCall> badCalls() const;
    /// With another value at that position.
    BadCall with(int position, const QVariant& value) const;
};

const QVector<Operation>& ofTheService();
QVector<Operation> ofTheSession();

/// One of the two ways to set the device account up.
struct SetUp
{
    const char* name;
    std::function<void(KelAccounts&, bool configureOnDb)> start;
    Call startWithoutArguments;
    const char* answer;    ///< the signal's name
    const char* mechanism; ///< that the plugin is asked for after "initialise"
    const char* userName;  ///< what is stored
    const char* password;
    const char* notStored;     ///< logged when the store refuses
    const char* notConfigured; ///< logged when the device account cannot be created
};

QVector<SetUp> setUps();

/// The answer of a set-up that failed.
QString failure(const SetUp& setUp, int status);

inline QString line(const char* pattern, int status)
{
    return text(pattern).arg(status);
}

} // namespace facadecalls
