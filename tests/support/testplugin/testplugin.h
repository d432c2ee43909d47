// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "pluginscript.h"

#include <SignOn/authpluginif.h>

/// Serves method "zorauth" as a test tells it to, and writes down what it was sent.
class TestPlugin : public AuthPluginInterface
{
    Q_OBJECT
    Q_INTERFACES(AuthPluginInterface)

public:
    TestPlugin();

    QString type() const override;
    QStringList mechanisms() const override;
    void cancel() override;
    void process(const SignOn::SessionData& data, const QString& mechanism) override;

private:
    void writeDown(const KelTest::PluginRequest& request);
    KelTest::PluginStep nextStep(const QString& mechanism) const;
    QString file(const char* name) const;

    QString mFolder;
    bool mBusy = false;
    bool mIgnoreCancel = false;
    int mRequest = 0; // so that a cancelled request's timer does not answer its successor
};
