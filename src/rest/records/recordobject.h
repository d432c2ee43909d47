// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QObject>

namespace KelRestHandler {

/// A QObject that is copied by value: the fields are a plain structure, so that copying them cannot
/// forget one. A copy has the parent that is named, never the source's.
// A moved QObject is a copied one; the copying members serve both.
template <class Fields>
// NOLINTNEXTLINE(cppcoreguidelines-special-member-functions)
class RecordObject : public QObject, public Fields
{
public:
    explicit RecordObject(QObject* parent = nullptr) : QObject(parent), Fields() {}
    RecordObject(const RecordObject& other, QObject* parent = nullptr)
        : QObject(parent), Fields(other)
    {
    }
    RecordObject& operator=(const RecordObject& other)
    {
        if (this != &other)
            static_cast<Fields&>(*this) = static_cast<const Fields&>(other);
        return *this;
    }
    ~RecordObject() override = default;
};

} // namespace KelRestHandler
