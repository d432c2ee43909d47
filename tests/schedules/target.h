// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace Schedules {

class Documented;
class Target;

/// What a target needs of the schedule that it is in.
class Stage
{
public:
    virtual ~Stage() = default;

    /// Said once; what is said afterwards may be of the same cause.
    virtual void complain(const QString& problem) = 0;
    /// An application's function has been called with an answer: it does what the schedule has it
    /// do.
    virtual void answered(Target& target) = 0;
    virtual const Documented& documented() const = 0;
};

/// One object that calls are made at. It outlives that object, to hear what comes afterwards.
class Target
{
public:
    explicit Target(Stage& stage) : mStage(stage) {}
    virtual ~Target() = default;
    Target(const Target&) = delete;
    Target& operator=(const Target&) = delete;

    /// Numbers are taken modulo what there is.
    virtual void call(int operation, QObject* context, int fate) = 0;
    /// One of those that need credentials.
    virtual void sessionCall(int operation, QObject* context, int fate) = 0;
    virtual void signIn(QObject* context, int fate) = 0;
    virtual void badCall(int operation) = 0;
    virtual void prepare() = 0;
    virtual void cancel(int which, QObject* context, int how) = 0;
    virtual void end() = 0;
    virtual void endLater() = 0;
    virtual void contextEnds(QObject* context) = 0;

    virtual bool isThere() const = 0;
    virtual bool isClient() const = 0;
    /// Whether everything is answered that is to be.
    virtual bool isSettled() const = 0;
    /// Whether everything was answered as often as it is to be; empty when it was. Calls may still
    /// be open unless they were waited for.
    virtual QString problem(bool wereAwaited) const = 0;

protected:
    Stage& mStage;
};

/// Empty when the tables that the targets are made of have every operation there is.
QString missingOperations();

/// Names of what needs credentials or makes them, for both.
const QStringList& sessionOperations();

std::unique_ptr<Target> makeFacade(Stage& stage, bool isInitialised);
std::unique_ptr<Target> makeClient(Stage& stage, bool isInitialised);

} // namespace Schedules
