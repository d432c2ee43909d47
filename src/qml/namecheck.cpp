// SPDX-License-Identifier: LGPL-2.1-or-later
#include "qml/namecheck.h"

namespace {

constexpr int usualPauseMs = 250;

} // namespace

KelQmlNameCheck::KelQmlNameCheck(QObject* parent) : KelQmlRequest(parent)
{
    mTimer.setSingleShot(true);
    mTimer.setInterval(usualPauseMs);
    connect(&mTimer, &QTimer::timeout, this, &KelQmlNameCheck::check);
    connect(this, &KelQmlRequest::busyChanged, this, [this] {
        if (!isBusy() && !mTimer.isActive())
            setChecking(false);
    });
}

void KelQmlNameCheck::setName(const QString& name)
{
    if (name == mName)
        return;
    mName = name;
    Q_EMIT nameChanged();
    startOver();
}

void KelQmlNameCheck::setKind(Kind kind)
{
    if (kind == mKind)
        return;
    mKind = kind;
    Q_EMIT kindChanged();
    startOver();
}

void KelQmlNameCheck::setPause(int pause)
{
    if (pause < 0 || pause == mTimer.interval())
        return;
    mTimer.setInterval(pause);
    Q_EMIT pauseChanged();
}

void KelQmlNameCheck::startOver()
{
    const bool hasQuestion = client() && !mName.isEmpty();
    if (hasQuestion)
        mTimer.start();
    else
        mTimer.stop();
    cancel();
    clearFailure();
    setOutcome(false, false, {});
    setChecking(hasQuestion);
}

void KelQmlNameCheck::check()
{
    mTimer.stop();
    cancel();
    // What was known before is not to stand beside a failure.
    setOutcome(false, false, {});
    // Who was told of that may have given another name, which is looked up in its turn.
    if (mName.isEmpty() || mTimer.isActive())
        return;
    const bool isAddress =
        mKind == Kind::EmailAddress || (mKind == Kind::Any && mName.contains(QLatin1Char('@')));
    const bool asked = ask(
        [this, isAddress](KelAccount::Client& operations) {
            return isAddress ? operations.isEmailIdAvailable(mName)
                             : operations.isUserIdAvailable(mName);
        },
        [this](const KelAccount::Availability& found) {
            setOutcome(true, found.available, found.suggestions);
        });
    setChecking(asked);
}

void KelQmlNameCheck::setChecking(bool checking)
{
    if (checking == mChecking)
        return;
    mChecking = checking;
    Q_EMIT checkingChanged();
}

void KelQmlNameCheck::setOutcome(bool checked, bool available, const QStringList& suggestions)
{
    if (checked == mChecked && available == mAvailable && suggestions == mSuggestions)
        return;
    mChecked = checked;
    mAvailable = available;
    mSuggestions = suggestions;
    Q_EMIT checkedChanged();
}
