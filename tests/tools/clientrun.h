// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

namespace KelTest {

/// What a run of the client came to.
struct ClientRun
{
    int status = -1; ///< -1: it did not end, or crashed
    QByteArray output;
    QByteArray errors;

    /// Standard output, when it is one line with one JSON object; empty otherwise.
    QJsonObject json() const;
    /// Exactly one line of text, and an end of line.
    static bool isOneLine(const QByteArray& text);
};

/// Runs the client with the arguments, in this environment and this change of it; an empty value
/// removes a variable.
class Client
{
public:
    explicit Client(const QMap<QString, QString>& environment = {});

    void set(const QString& variable, const QString& value) { mEnvironment[variable] = value; }
    ClientRun run(const QStringList& arguments, const QByteArray& input = {}) const;

private:
    QMap<QString, QString> mEnvironment;
};

} // namespace KelTest
