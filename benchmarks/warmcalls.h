// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

/// A warm call, by the library and by what it is measured against.
namespace WarmCalls {

/// Told whether a call succeeded, when it has ended.
using Done = std::function<void(bool)>;

/// Makes the same call again and again, over connections of its own.
class Caller : public QObject
{
public:
    /// What can be done before the clock runs, for as many calls.
    virtual void provideFor(int /*calls*/) {}
    virtual void call(const Done& done) = 0;
};

/// Signs the demo user in, whose profile the calls read. Ends the program when the emulator does
/// not answer.
void signIn();

/// Asks for the profile through the REST layer: signed, sent, read and dispatched.
std::unique_ptr<Caller> library();

/// A QNetworkAccessManager whose connections have TCP_NODELAY set behind its back. It posts what
/// the library would, made beforehand, and takes the bytes of the reply.
std::unique_ptr<Caller> promptManager();

/// The same manager doing the same job as the library, written by hand: it signs each request with
/// OpenSSL and reads each reply with QDomDocument into a record.
std::unique_ptr<Caller> handWritten();

/// The same question as plainManager(), by the library.
std::unique_ptr<Caller> libraryWithDocument();

/// A QNetworkAccessManager as it is, which posts requests with a document of some 700 bytes: header
/// and document apart, and Nagle's algorithm between them.
std::unique_ptr<Caller> plainManager();

/// One after the other; milliseconds of each.
std::vector<double> oneByOne(Caller& caller, int count);

/// `width` calls under way at any time; calls a second.
double atOnce(Caller& caller, int width, int count);

/// Of all threads of this process.
double cpuSeconds();

/// Pieces of memory that have been allocated by this process.
long allocations();

long residentKilobytes();

double median(std::vector<double> values);

} // namespace WarmCalls
