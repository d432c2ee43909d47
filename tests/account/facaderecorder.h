// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "support/signalrecorder.h"

#include <QStringList>

#include <functional>

namespace KelAccount {
class KelAccounts;
}

namespace KelTest {

/// Writes every signal of a facade down, in the order in which they come: the name and the values,
/// such as "isUserIdAvailableResponse(0, true, [])".
class FacadeRecorder : public SignalRecorder
{
public:
    explicit FacadeRecorder(KelAccount::KelAccounts* accounts);

    const QStringList& lines() const { return mLines; }
    /// Runs an event loop, as applications do, until there are so many, but not longer than
    /// `timeoutMs`. QTest::qWait() is another matter: it deletes what is due at any time.
    bool waitFor(int count, int timeoutMs = 5000) const;
    void clear() { mLines.clear(); }

    /// Called with the signal's name after each was written down; may delete the facade.
    std::function<void(const QString& signal)> afterwards;

    /// How long to stay in every slot, in an event loop of its own, as an application does that
    /// shows a message box; 0 to return at once.
    void stayInSlots(int milliseconds) { mModalMs = milliseconds; }

private:
    void record(const QMetaMethod& signal, void** arguments) override;

    QStringList mLines;
    int mModalMs = 0;
    mutable std::function<void()> mOnLine; ///< for who waits
};

/// A map as the recorder writes it: "{key: value, key: value}".
QString mapText(const QVariantMap& map);

} // namespace KelTest
