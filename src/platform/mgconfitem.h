// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

/// One item of the desktop's configuration, read from dconf under the item's path as it is.
class MGConfItem : public QObject
{
    Q_OBJECT

public:
    explicit MGConfItem(const QString& key, QObject* parent = nullptr);

    QString key() const { return mKey; }

    /// The value at this moment: text, truth value, whole number, floating-point number or list of
    /// texts. Invalid when the item is unset, holds a value of another type, or the key is no path
    /// of an item.
    QVariant value() const;

private:
    QString mKey;
};
