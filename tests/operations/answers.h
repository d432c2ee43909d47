// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "operations/operations.h"
#include "operations/wiredata.h"
#include "support/literals.h"

#include <QNetworkReply>

/// Replies to every operation, and what they are to become. They are made from the rows of the
/// operations, and what those carry is written by hand.
namespace operations {

enum class Ending { Success, ServerError, NetworkError, Malformed };

struct Case
{
    int number;
    Ending ending;
    QString name;
    QNetworkReply::NetworkError error;
    QString text;       ///< status line, headers and body, as the transport hands them over
    QStringList answer; ///< as RecordedAnswers writes it; empty when no signal answers
};

constexpr int requestId = 17;

// Every reply here carries the same date.
inline const auto head = "200 OK\r\nDate: Tue, 15 Nov 1994 08:12:31 GMT\r\n\r\n"_s;
inline const auto headTime = "1994-11-15T08:12:31.000Z"_s;
/// When the user of "signin/everything" was authenticated.
inline const auto tokenTime = "2012-03-04T05:06:07.089Z"_s;

inline const auto declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"_s;

QString element(const QString& tag, const QString& content);

/// A picture of three by two pixels, all of them ff8000, as PNG. Made with Python's zlib.
inline const auto picture =
    "iVBORw0KGgoAAAANSUhEUgAAAAMAAAACCAIAAAASFvFNAAAAEElEQVR4nGP438AAQQxwFgBf0gj7joAK"
    "VQAAAABJRU5ErkJggg=="_s;

/// A captcha with that picture.
QString captchaReply();

/// The recorded replies in the folder of its success, where its signal carries all that they say.
QStringList recordedForms(const Operation& operation);

/// Bodies of success, one for each root that the operation reads.
QStringList successes(const Operation& operation);

/// The answer of an operation that ends with the status.
QStringList answer(const Operation& operation, int status, const QStringList& record,
                   const QString& time = headTime);

/// What the record is when a reply without readable contents ends with the status.
QStringList unfilled(const Operation& operation, int status);

/// Whether the reply really is what its case claims.
bool isWhatItClaims(const Case& testCase);

const QVector<Case>& cases();

} // namespace operations
