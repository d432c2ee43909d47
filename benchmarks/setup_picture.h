// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QString>
#include <QVector>

/// The steps of both set-ups, each as a bar where the one before ends.
class SetUpPicture
{
public:
    void add(const QString& step, double signIn, double registration);
    /// As SVG.
    bool write(const QString& file) const;

private:
    struct Step
    {
        QString name;
        double milliseconds[2];
    };
    QVector<Step> mSteps;
};
