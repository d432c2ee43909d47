// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QMetaMethod>
#include <QObject>

/// Hears of every signal that a class declares, by its meta-object, so that none is forgotten.
class SignalRecorder : public QObject
{
public:
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override
    {
        const int signal = QObject::qt_metacall(call, id, arguments);
        if (signal < 0 || call != QMetaObject::InvokeMetaMethod)
            return signal;
        record(mDeclaring.method(signal), arguments + 1);
        return -1;
    }

protected:
    SignalRecorder(QObject* source, const QMetaObject& declaring) : mDeclaring(declaring)
    {
        for (int i = declaring.methodOffset(); i < declaring.methodCount(); ++i) {
            // A slot number of this object that no class of it declares: qt_metacall() gets it.
            if (declaring.method(i).methodType() == QMetaMethod::Signal)
                QMetaObject::connect(source, i, this, QObject::staticMetaObject.methodCount() + i,
                                     Qt::DirectConnection);
        }
    }

    virtual void record(const QMetaMethod& signal, void** arguments) = 0;

private:
    const QMetaObject& mDeclaring;
};
