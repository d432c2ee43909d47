// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/literals.h"

#include <kelaccount/kelaccounts.h>
#include <kelaccount/registrationinfo.h>

#include <QString>
#include <QVector>

#include <functional>

/// The operations of a user who is signed in and the two set-ups, as an application and the plugin
/// see them.
namespace sessionoperations {

using KelAccount::KelAccounts;
using Call = std::function<void(KelAccounts&)>;

struct BadCall
{
    const char* name; ///< what is wrong
    Call call;
};

struct Operation
{
    const char* name;
    Call call; ///< with arguments that nothing is wrong with
    QVector<BadCall> badCalls;
    const char* refusal;   ///< the one signal of a refusal, with %1 for the status
    const char* answer;    ///< the one signal of an answer
    const char* mechanism; ///< that the plugin is asked for
};

inline QVector<Operation> all()
{
    const auto passwords = [](const char* before, const char* after) -> Call {
        return [=](KelAccounts& a) { a.changePassword(text(before), text(after)); };
    };
    return {
        {"downloadProfile",
         [](KelAccounts& a) { a.downloadProfile(); },
         {},
         "downloadProfileResponse(%1, no profile)",
         "downloadProfileResponse(%1, profile)",
         "privateMechanism_downloadProfile"},
        {"updateSecurityQuestion",
         [](KelAccounts& a) { a.updateSecurityQuestion("question-7"_s, "Ünser Hund"_s); },
         {},
         "updateSecurityQuestionResponse(%1)",
         "updateSecurityQuestionResponse(%1)",
         "privateMechanism_updateSecurityQuestion"},
        {"changePassword",
         passwords("the old öne", "the new one"),
         {{"old password", passwords("", "the new one")},
          {"new password", passwords("the old one", "")},
          {"both", passwords("", "")}},
         "changePasswordResponse(%1)",
         "changePasswordResponse(%1)",
         "privateMechanism_changepassword"},
        {"userIdUpdate",
         [](KelAccounts& a) { a.userIdUpdate("näme"_s); },
         {{"name", [](KelAccounts& a) { a.userIdUpdate(QString()); }}},
         "userIdUpdateResponse(%1)",
         "userIdUpdateResponse(%1)",
         "setUserId"},
        {"ensureTokenAvailable",
         [](KelAccounts& a) { a.ensureTokenAvailable(0); },
         {{"known credentials", [](KelAccounts& a) { a.ensureTokenAvailable(4711); }}},
         "ensureTokenAvailableResponse(%1)",
         "ensureTokenAvailableResponse(%1)",
         "privateMechanism_ensureToken"},
    };
}

inline KelAccount::RegistrationInfo registration()
{
    KelAccount::RegistrationInfo info;
    info.setUsername("new.user"_s);
    info.setEmailAddress("new.user@mail.example"_s);
    info.setPassword("the-new-password"_s);
    return info;
}

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

inline QVector<SetUp> setUps()
{
    return {
        {"sign in",
         [](KelAccounts& a, bool configureOnDb) {
             a.signInAndConfigure("usér"_s, "the-passwörd"_s, configureOnDb);
         },
         [](KelAccounts& a) { a.signInAndConfigure(QString(), QString(), true); },
         "signInAndConfigureResponse", "signIn", "usér", "the-passwörd",
         "Failed to store credentials during signInAndConfigure",
         "Signin was successful.. but failed to configure the account on device"},
        {"register",
         [](KelAccounts& a, bool configureOnDb) {
             a.registerAccount(registration(), configureOnDb);
         },
         [](KelAccounts& a) { a.registerAccount(KelAccount::RegistrationInfo(), true); },
         "registerAccountResponse", "privateMechanism_registerAccount", "new.user@mail.example",
         "the-new-password", "Failed to store credentials during registration",
         "Registration was successful.. but failed to configure the account on device"},
    };
}

/// The answer of a set-up that failed.
inline QString failure(const SetUp& setUp, int status)
{
    return "%1(%2, {})"_s.arg(text(setUp.answer)).arg(status);
}

inline QString line(const char* pattern, int status)
{
    return text(pattern).arg(status);
}

} // namespace sessionoperations
