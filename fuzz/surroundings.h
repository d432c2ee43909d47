// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QVector>

/// What the library finds around it in a target's process, in the place of what a device has.
namespace KelFuzz {

/// Makes the process an application, once, whose log is looked through for planted secrets.
void beApplication();

/// Stands in every secret that a target hands in. Where it is logged, the process ends.
constexpr const char* plantedSecret = "planted-Secret-77";

/// Where the library looks for every server of the service.
void setServiceBase(const QString& base);

/// Where it looks for the files that describe the device; with "/" at the end.
void setPlatformRoot(const QString& folder);

/// The name of the tag server's socket, of this process.
QByteArray tagServerName();
/// Of the clock by which a tag server's hang is remembered.
void passTagServerTime();

/// Counts an object's signals, by the numbers of its methods.
class SignalCounter : public QObject
{
public:
    /// Every signal that `type` declares itself.
    SignalCounter(const QObject* sender, const QMetaObject& type);

    int count(const QByteArray& name) const;
    int all() const;

protected:
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    const QMetaObject& mType;
    QVector<int> mCounts;
};

} // namespace KelFuzz
