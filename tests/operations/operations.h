// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/table.h"
#include "operations/values.h"
#include "rest/request/oauthrequest.h"
#include "rest/restrequesthandler.h"

#include <functional>
#include <memory>

/// The rows of the table with what a test needs to run them: how a request is made and sent, and
/// what the service's replies become.
namespace operations {

/// What every send operation is given.
struct Sending
{
    RESTRequestHandler& handler;
    ISignatureProvider& provider;
    const Values& values;
    QString base;
    OAuthRequest** out; ///< only for those that hand the request out
    QString key = consumerKey;
};

/// A send operation of the request handler.
struct Send
{
    int number; ///< of the operation
    bool handsOut;
    const char* creationFailure; ///< what it says when the request cannot be made
    std::function<int(const Sending&)> run;
    QString name() const; ///< for a row of a test
};

struct Operation : Facts
{
    Operation() = default; // as a vector asks for
    explicit Operation(const Facts& facts) : Facts(facts) {}

    std::function<std::unique_ptr<OAuthRequest>(ISignatureProvider&, const QString& base,
                                                const Values&)>
        make;
    QVector<Send> sends;
    std::function<QString(const Values&)> document; ///< null: the operation has none

    const char* success = ""; ///< a reply: a case in data/, or the body itself
    QStringList record;       ///< what it carries
    QStringList nothing;      ///< what the record is when it was not filled
    QString error;            ///< what stands in an error document
    int errorStatus = 0;
    /// Writes down what the signal's structure carries besides what all of them do. Null: another
    /// row does, or the signal carries none of its own.
    std::function<QStringList(const void*)> write;

    QString addressWith(const Values& values) const; ///< below the base address
    /// What the request's document is to be, with nonce and digest replaced.
    QString documentWith(const Values& values) const;
    QString languageWith(const Values& values) const;
    QStringList signalNames() const { return namesOf(formsOf(answers)); }
    bool isAnswered() const { return answers != nullptr; }

    // Where the rows are written.
    Operation says(std::function<QString(const Values&)> written) const;
    Operation read(const char* replied, const QStringList& carried,
                   const QStringList& empty = {}) const;
    /// What is recorded of the reply.
    Operation reads(const char* replied, const QStringList& empty = {}) const;
    Operation refused(const QString& content, int status) const;
    template <class Response>
    Operation carrying(QStringList (*lines)(const Response&)) const
    {
        Operation operation = *this;
        operation.write = [lines](const void* value) {
            return lines(*static_cast<const Response*>(value));
        };
        return operation;
    }
};

/// In the order of the table.
const QVector<Operation>& all();
const Operation& of(int number);

/// A number that no operation has.
constexpr int unknown = lastNetRequestType + 1;

const QVector<Send>& sends();

/// A sign-in document with its nonce and digest replaced: they are new every time. A digest that
/// does not fit nonce, time and password stays as it is.
QString withoutChance(const QString& document, const QString& secret);

/// The class of a request, without its namespace.
QString classOf(const OAuthRequest& request);

/// A column "number" and a row for each operation that the filter lets through.
void rows(const std::function<bool(const Operation&)>& filter = nullptr);
/// A column "send" and a row for each send operation that the filter lets through.
void sendRows(const std::function<bool(const Send&)>& filter = nullptr);

} // namespace operations
